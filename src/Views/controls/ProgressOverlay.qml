import QtQuick
import QtQuick.Controls.impl
import Tessivo

// Lies over what is being worked on and says what goes on. Pointers reach what is below.
Rectangle {
    id: root

    required property string text

    implicitWidth: content.implicitWidth + 2 * Theme.standardPadding
    implicitHeight: content.implicitHeight + 2 * Theme.standardPadding
    radius: Theme.panelRadius
    color: Qt.alpha(Theme.controlBackground, Theme.overlayOpacity)

    Accessible.role: Accessible.ProgressBar
    Accessible.name: text

    Column {
        id: content

        anchors.centerIn: parent
        spacing: Theme.panelSpacing

        IconImage {
            anchors.horizontalCenter: parent.horizontalCenter
            source: Theme.icon("rays")
            color: Theme.primaryText
            sourceSize.width: Theme.spinnerSize
            sourceSize.height: Theme.spinnerSize

            RotationAnimation on rotation {
                running: root.visible
                from: 0
                to: 360
                duration: Theme.spinnerTurn
                loops: Animation.Infinite
            }
        }

        Text {
            text: root.text
            color: Theme.primaryText
        }
    }
}
