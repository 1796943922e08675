import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// The tool tip of its parent item, shown after a moment of hovering. The parent must stay enabled:
// a disabled button should have its tool tip too. An empty text shows nothing.
HoverHandler {
    id: root

    required property string text
    // Set when the keyboard is on the item, which shows the tool tip too.
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
