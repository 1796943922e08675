import QtQuick
import Tessivo.Style

// One transport command: a round button.
CommandButton {
    id: root

    required property string symbol
    required property color color
    required property real size

    implicitWidth: size
    implicitHeight: size
    focusRingRadius: width

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: root.color

        Behavior on color {
            ColorAnimation {
                duration: Theme.stateAnimation
                easing.type: Easing.InOutQuad
            }
        }
    }

    Icon {
        anchors.centerIn: parent
        symbol: root.symbol
        color: Theme.onColor
        size: Theme.buttonIconSize
    }
}
