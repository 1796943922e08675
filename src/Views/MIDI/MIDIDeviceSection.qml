import QtQuick
import Tessivo
import Tessivo.Style

// The connected MIDI device, and the devices to pick from.
Column {
    id: root

    required property MIDISettings settings

    readonly property bool isConnected: settings.midiManager.isConnected
    readonly property color statusColor: isConnected ? Theme.green : Theme.red

    spacing: Theme.headingSpacing

    SectionHeading {
        width: parent.width
        symbol: "cable.connector"
        text: qsTr("MIDI Device")
    }

    Box {
        width: parent.width

        Row {
            width: parent.width
            spacing: Theme.iconLabelSpacing

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: Theme.statusDotSize
                height: Theme.statusDotSize
                radius: width / 2
                color: root.statusColor
            }

            Label {
                text: root.isConnected ? qsTr("Connected") : qsTr("Disconnected")
                font: Theme.subheadline
                color: root.statusColor
            }
        }

        Label {
            id: device

            width: parent.width
            visible: root.settings.hasDevice
            text: qsTr("Device: %1").arg(root.settings.deviceName)
            textFormat: Text.PlainText
            maximumLineCount: 1
            elide: Text.ElideRight
            font: Theme.caption
            color: Theme.secondaryText

            HoverTip {
                text: device.truncated ? root.settings.deviceName : ""
            }
        }

        MIDIDeviceList {
            width: parent.width
            visible: root.settings.devices.count > 0
            settings: root.settings
        }

        Label {
            width: parent.width
            visible: root.settings.devices.count === 0
            text: qsTr("No MIDI devices found")
            font: Theme.caption
            color: Theme.secondaryText
        }
    }
}
