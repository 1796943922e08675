pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import Tessivo.Style

// The devices to pick from. Picking the connected one reconnects it.
Column {
    id: root

    required property MIDISettings settings

    spacing: Theme.panelSpacing

    Item {
        width: parent.width
        implicitHeight: refresh.implicitHeight

        Label {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Available Devices:")
            font: Theme.caption
            color: Theme.secondaryText
        }

        PushButton {
            id: refresh

            anchors.right: parent.right
            text: qsTr("Refresh")
            small: true
            onTriggered: root.settings.refresh()
        }
    }

    Repeater {
        model: root.settings.devices

        MIDIDeviceRow {
            width: root.width
            onTriggered: root.settings.devices.connectTo(index)
        }
    }
}
