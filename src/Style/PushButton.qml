import QtQuick
import Tessivo.Style

// A button with a frame and a text. The prominent one does what the sheet is for. A tint colours
// the text, and the face a little.
PlainButton {
    id: root

    property bool prominent: false
    property bool small: false
    property color tint: Theme.primaryText
    property real minimumWidth: small ? 0 : Theme.pushButtonMinimumWidth
    property real horizontalPadding: small ? Theme.smallButtonHorizontalPadding
                                           : Theme.pushButtonHorizontalPadding
    property real verticalPadding: small ? Theme.smallButtonVerticalPadding
                                         : Theme.pushButtonVerticalPadding
    property font font: small ? Theme.caption : Theme.body

    readonly property bool tinted: !Qt.colorEqual(tint, Theme.primaryText)
    readonly property color faceColor: {
        if (!enabled)
            return Theme.buttonFace;
        if (prominent)
            return Theme.accent;
        return tinted ? Qt.tint(Theme.controlBackground, Qt.alpha(tint, Theme.buttonTint))
                      : Theme.buttonFace;
    }
    readonly property color textColor: {
        if (!enabled)
            return Theme.unavailableText;
        return prominent ? Theme.accentText : tint;
    }

    implicitWidth: Math.max(label.implicitWidth + 2 * horizontalPadding, minimumWidth)
    implicitHeight: label.implicitHeight + 2 * verticalPadding

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: root.faceColor
        border.color: root.enabled ? Theme.primaryText : Theme.unavailableText
        border.width: Theme.faceBorder
    }

    Text {
        id: label

        anchors.centerIn: parent
        width: Math.min(implicitWidth, root.width - Theme.smallButtonVerticalPadding)
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Theme.smallestPixelSize
        minimumPointSize: Theme.smallestPointSize
        text: root.text
        font: root.font
        color: root.textColor
    }
}
