import QtQuick
import QtQuick.Controls.impl
import Tessivo

// One round transport command.
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

    IconImage {
        anchors.centerIn: parent
        source: Theme.icon(root.symbol)
        color: Theme.onColor
        sourceSize.width: Theme.buttonIconSize
        sourceSize.height: Theme.buttonIconSize
    }
}
