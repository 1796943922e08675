import QtQuick
import Tessivo.Style

// One command in the toolbar: an icon without text.
CommandButton {
    id: root

    required property string symbol

    implicitWidth: Theme.toolbarButtonSize
    implicitHeight: Theme.toolbarButtonSize

    Icon {
        anchors.centerIn: parent
        symbol: root.symbol
        color: root.available ? Theme.primaryText : Theme.unavailableText
        size: Theme.toolbarIconSize
    }
}
