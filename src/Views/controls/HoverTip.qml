pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import QtQuick.Templates as T

// The tool tip of the item it stands in. The tip itself is built only when a pointer first rests
// there, and belongs to an item that stays enabled: a disabled button explains itself too.
HoverHandler {
    id: root

    required property string text

    readonly property Loader tip: Loader {
        active: root.hovered || (item as T.ToolTip)?.visible === true
        parent: root.parent
        anchors.fill: parent

        sourceComponent: T.ToolTip {
            id: toolTip

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
}
