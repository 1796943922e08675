import QtQuick
import QtQuick.Controls.impl
import Tessivo

// One command in the toolbar: an icon without text.
CommandButton {
    id: root

    required property string symbol

    implicitWidth: Theme.toolbarButtonSize
    implicitHeight: Theme.toolbarButtonSize

    IconImage {
        anchors.centerIn: parent
        source: Theme.icon(root.symbol)
        color: root.available ? Theme.primaryText : Theme.unavailableText
        sourceSize.width: Theme.toolbarIconSize
        sourceSize.height: Theme.toolbarIconSize
    }
}
