import QtQuick
import Tessivo

// A button with a frame and a text. The prominent one is what the sheet is there for.
PlainButton {
    id: root

    property bool prominent: false

    readonly property color faceColor: prominent && enabled ? Theme.accent : Theme.buttonFace
    readonly property color textColor: {
        if (!enabled)
            return Theme.unavailableText;
        return prominent ? Theme.accentText : Theme.primaryText;
    }

    implicitWidth: Math.max(label.implicitWidth + 2 * Theme.pushButtonHorizontalPadding,
        Theme.pushButtonMinimumWidth)
    implicitHeight: label.implicitHeight + 2 * Theme.pushButtonVerticalPadding

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: root.faceColor
    }

    Text {
        id: label

        anchors.centerIn: parent
        text: root.text
        color: root.textColor
    }
}
