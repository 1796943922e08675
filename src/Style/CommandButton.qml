import QtQuick
import Tessivo.Style

// One command of the main window. Pointer, shortcut and screen reader all cause the one signal,
// and only while the command is available. Its children are its face.
Item {
    id: root

    required property string name
    required property string toolTip
    required property bool available
    required property var keys
    // False while a sheet in front of the window has the keyboard.
    required property bool keysEnabled

    property alias focusRingRadius: button.focusRingRadius
    default property alias face: button.data

    signal triggered()

    Shortcut {
        sequences: root.keys
        enabled: root.keysEnabled && root.available
        autoRepeat: false
        onActivated: root.triggered()
    }

    HoverTip {
        text: root.toolTip
    }

    PlainButton {
        id: button

        anchors.fill: parent
        enabled: root.available
        text: root.name
        onTriggered: root.triggered()

        Accessible.description: root.toolTip
    }
}
