import QtQuick
import QtQuick.Templates as T
import Tessivo

// The tool tip of the item it stands in. It hangs on an item that stays enabled, because a
// disabled button explains itself too. An empty one is not shown.
HoverHandler {
    id: root

    required property string text
    // Whoever works with the keyboard cannot point at the item.
    property bool focused: false

    readonly property T.ToolTip toolTip: T.ToolTip {
        id: toolTip

        parent: root.parent
        x: parent ? (parent.width - implicitWidth) / 2 : 0
        y: parent ? parent.height + margins : 0
        implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding,
            parent ? parent.Window.width - 2 * margins : 0)
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        margins: 6
        padding: 6
        font: Theme.caption
        text: root.text
        delay: Theme.toolTipDelay
        visible: (root.hovered || root.focused) && text !== ""

        contentItem: Text {
            text: toolTip.text
            font: toolTip.font
            color: Theme.toolTipText
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
        }

        background: Rectangle {
            radius: 4
            color: Theme.toolTipBackground
            border.color: Theme.toolTipBorder
        }
    }
}
