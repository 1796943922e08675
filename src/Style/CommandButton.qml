import QtQuick
import Tessivo.Style

// One command of the main window. Pointer, shortcut and screen reader all cause the one signal,
// and only while the command is available. Its children are what it shows.
Item {
    id: root

    required property string name
    required property string toolTip
    required property bool available
    required property var keys
    // False while a sheet in front of the window has the keyboard focus.
    required property bool keysEnabled
    // Another command is not done yet, so that this one may be available by its turn: its keys
    // count, though the button is still as it was.
    property bool mayBecomeAvailable: false

    property alias focusRingRadius: button.focusRingRadius
    default property alias face: button.data

    signal triggered()

    KeyShortcut {
        keys: root.keys
        enabled: root.keysEnabled && (root.available || root.mayBecomeAvailable)
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
        description: root.toolTip
        onTriggered: root.triggered()
    }
}
