import QtQuick
import QtQuick.Templates as T

// A window in front of the one it belongs to, which waits until the sheet is gone. It shows as soon
// as it is made, and whoever made it destroys it.
T.ApplicationWindow {
    id: root

    // Something in front of the sheet has the keyboard focus.
    property bool isCovered: false
    property bool canAccept: false

    // Ctrl+Return: do what the sheet is for.
    signal accepted()
    // The sheet is not wanted any more.
    signal dismissed()

    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    visible: true
    modality: Qt.WindowModal
    flags: Qt.Dialog

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.canAccept && !root.isCovered
        autoRepeat: false
        onActivated: root.accepted()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: !root.isCovered
        autoRepeat: false
        onActivated: root.dismissed()
    }
}
