import QtQuick
import QtQuick.Templates as T
import Tessivo

// The tool tip of the item it stands in. It hangs on an item that stays enabled, because a
// disabled button explains itself too.
HoverHandler {
    id: root

    required property string text

    readonly property T.ToolTip toolTip: T.ToolTip {
        id: toolTip

        parent: root.parent
        x: parent ? (parent.width - implicitWidth) / 2 : 0
        y: parent ? parent.height + margins : 0
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        margins: 6
        padding: 6
        font: Theme.caption
        text: root.text
        delay: Theme.toolTipDelay
        visible: root.hovered

        contentItem: Text {
            text: toolTip.text
            font: toolTip.font
            color: Theme.toolTipText
        }

        background: Rectangle {
            radius: 4
            color: Theme.toolTipBackground
            border.color: Theme.toolTipBorder
        }
    }
}
