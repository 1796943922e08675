import QtQuick
import QtQuick.Controls.impl
import Tessivo

// A button that is nothing but its icon. Its tool tip says what it does, also to whoever cannot
// see the icon.
PlainButton {
    id: root

    required property string symbol
    property color color: Theme.accent
    property real iconSize: Theme.rowButtonIconSize

    implicitWidth: Theme.rowButtonSize
    implicitHeight: Theme.rowButtonSize
    focusRingRadius: Theme.controlRadius + Theme.focusRingWidth
    focusRingGap: 0

    HoverTip {
        text: root.text
        focused: root.activeFocus
    }

    IconImage {
        anchors.centerIn: parent
        source: Theme.icon(root.symbol)
        color: root.enabled ? root.color : Theme.unavailableText
        sourceSize.width: root.iconSize
        sourceSize.height: root.iconSize
    }
}
