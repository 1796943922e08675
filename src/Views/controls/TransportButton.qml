import QtQuick
import Tessivo
import QtQuick.Controls.impl

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

    readonly property color faceColor: (button.background as Rectangle)?.color ?? "transparent"

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
        id: button

        anchors.fill: parent
        enabled: root.available
        text: root.name
        onClicked: root.triggered()

        Accessible.role: Accessible.Button
        Accessible.name: root.name
        Accessible.description: root.toolTip

        background: Rectangle {
            radius: width / 2
            color: root.color

            Behavior on color {
                ColorAnimation {
                    duration: Theme.stateAnimation
                    easing.type: Easing.InOutQuad
                }
            }

            FocusRing {
                radius: width / 2
                visible: button.visualFocus
            }
        }

        contentItem: Item {
            IconImage {
                anchors.centerIn: parent
                source: Theme.icon(root.symbol)
                color: Theme.onColor
                sourceSize.width: Theme.buttonIconSize
                sourceSize.height: Theme.buttonIconSize
            }
        }
    }
}
