import QtQuick
import QtQuick.Templates as T
import Tessivo

// Keeps apart the commands that have little to do with each other.
T.MenuSeparator {
    id: root

    implicitWidth: implicitContentWidth
    implicitHeight: 1 + 2 * Theme.menuPadding
    padding: Theme.menuPadding

    contentItem: Rectangle {
        implicitHeight: 1
        color: Theme.separator
    }
}
