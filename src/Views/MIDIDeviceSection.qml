import QtQuick
import Tessivo

// Which device the notes come from, and whether it is there.
Column {
    id: root

    required property MIDISettings settings

    readonly property bool isConnected: settings.midiManager.isConnected
    readonly property color statusColor: isConnected ? Theme.green : Theme.red

    spacing: Theme.headingSpacing

    SectionHeading {
        width: parent.width
        symbol: "cable.connector"
        text: "MIDI Device"
    }

    Box {
        width: parent.width

        Row {
            spacing: Theme.iconLabelSpacing

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: Theme.statusDotSize
                height: Theme.statusDotSize
                radius: width / 2
                color: root.statusColor
            }

            Text {
                text: root.isConnected ? "Connected" : "Disconnected"
                font: Theme.subheadline
                color: root.statusColor

                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        Text {
            id: device

            width: parent.width
            visible: root.settings.hasDevice
            text: "Device: " + root.settings.deviceName
            textFormat: Text.PlainText
            maximumLineCount: 1
            elide: Text.ElideRight
            font: Theme.caption
            color: Theme.secondaryText

            Accessible.role: Accessible.StaticText
            Accessible.name: text

            HoverTip {
                text: device.truncated ? root.settings.deviceName : ""
            }
        }

        MIDIDeviceList {
            width: parent.width
            visible: root.settings.devices.count > 0
            settings: root.settings
        }

        Text {
            visible: root.settings.devices.count === 0
            text: "No MIDI devices found"
            font: Theme.caption
            color: Theme.secondaryText

            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
