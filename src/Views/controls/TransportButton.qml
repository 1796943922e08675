import QtQuick
import QtQuick.Controls.impl
import Tessivo

// One round transport command: pointer, own shortcut and assistive technology end in the one
// signal, and only while the command is available.
Item {
    id: root

    required property string name
    required property string symbol
    required property string toolTip
    required property color color
    required property real size
    required property bool available
    required property var keys
    required property bool keysEnabled

    signal triggered()

    implicitWidth: size
    implicitHeight: size

    Shortcut {
        sequences: root.keys
        enabled: root.keysEnabled && root.available
        autoRepeat: false
        onActivated: root.triggered()
    }

    HoverTip {
        text: root.toolTip
    }

    PlainButton {
        anchors.fill: parent
        enabled: root.available
        text: root.name
        focusRingRadius: width
        onTriggered: root.triggered()

        Accessible.description: root.toolTip

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
}
