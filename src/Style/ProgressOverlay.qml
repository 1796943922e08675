import QtQuick
import Tessivo.Style

// Covers the middle of a window and tells what is in progress. It lets clicks through to what it
// covers.
Rectangle {
    id: root

    required property string text

    implicitWidth: content.implicitWidth + 2 * Theme.standardPadding
    implicitHeight: content.implicitHeight + 2 * Theme.standardPadding
    radius: Theme.panelRadius
    color: Qt.alpha(Theme.controlBackground, Theme.overlayOpacity)
    border.color: Theme.outline

    Accessible.role: Accessible.ProgressBar
    Accessible.name: text

    Column {
        id: content

        anchors.centerIn: parent
        spacing: Theme.panelSpacing

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
        }

        Text {
            text: root.text
            color: Theme.primaryText
        }
    }
}
