import QtQuick
import Tessivo.Style

// A button that is only an icon. Its text is its tool tip and its name for screen readers.
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

    Icon {
        anchors.centerIn: parent
        symbol: root.symbol
        color: root.enabled ? root.color : Theme.unavailableText
        size: root.iconSize
    }
}
