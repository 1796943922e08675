import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// One line of text in a rounded frame.
T.TextField {
    id: root

    // Of its font, whatever script is typed.
    implicitHeight: Math.ceil(metrics.height) + topPadding + bottomPadding
    padding: Theme.fieldPadding
    font: Theme.body
    color: Theme.primaryText
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    placeholderTextColor: Theme.secondaryText
    verticalAlignment: TextInput.AlignVCenter
    // Otherwise the keyboard would decide, and not the direction of the window.
    horizontalAlignment: TextInput.AlignLeft
    activeFocusOnTab: true

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.controlBackground
        border.color: root.activeFocus ? Theme.focusRing : Theme.fieldBorder
        border.width: root.activeFocus ? Theme.focusRingWidth : 1
    }

    FontMetrics {
        id: metrics

        font: root.font
    }

    Text {
        x: root.leftPadding
        y: root.topPadding
        width: root.width - root.leftPadding - root.rightPadding
        height: root.height - root.topPadding - root.bottomPadding
        text: root.placeholderText
        font: root.font
        color: root.placeholderTextColor
        horizontalAlignment: root.horizontalAlignment
        verticalAlignment: root.verticalAlignment
        elide: Text.ElideRight
        visible: root.length === 0 && root.preeditText === ""
    }
}
