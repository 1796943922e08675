import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// A line between groups of commands in a menu.
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
