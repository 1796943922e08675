import QtQuick
import Tessivo.Style

// A folder or a file in a folder. Files are paler: they are not what the browser is for.
PlainButton {
    id: root

    required property string fileName
    required property url fileUrl
    required property bool fileIsDir

    text: fileName
    description: fileIsDir ? qsTr("Folder") : qsTr("File")
    implicitHeight: label.height + 2 * Theme.menuItemVerticalPadding
    focusRingGap: -Theme.focusRingWidth

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.panelSpacing
        anchors.verticalCenter: parent.verticalCenter
        symbol: root.fileIsDir ? "folder.fill" : "waveform"
        color: root.fileIsDir ? Theme.accent : Theme.secondaryText
        size: Theme.captionIconSize
    }

    NameText {
        id: label

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.right: parent.right
        anchors.rightMargin: Theme.standardPadding
        anchors.verticalCenter: parent.verticalCenter
        text: root.fileName
        elide: Text.ElideMiddle
        font: Theme.body
        color: root.fileIsDir ? Theme.primaryText : Theme.secondaryText
    }
}
