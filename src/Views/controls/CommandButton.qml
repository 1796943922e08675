import QtQuick
import Tessivo

// One command of the main window: pointer, own shortcut and assistive technology end in the one
// signal, and only while the command is available. Its face are its children.
Item {
    id: root

    required property string name
    required property string toolTip
    required property bool available
    required property var keys
    // False while something in front of the window owns the keyboard.
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
