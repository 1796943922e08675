import QtQuick
import Tessivo.Style

// Shown in place of the list while the library is loading or empty.
Item {
    id: root

    required property bool isLoading

    Column {
        anchors.centerIn: parent
        visible: root.isLoading
        spacing: Theme.libraryHeaderSpacing

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            scale: Theme.loadingScale
        }

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Loading loops...")
            color: Theme.secondaryText

            Accessible.role: Accessible.ProgressBar
        }
    }

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.sheetPadding
        visible: !root.isLoading
        spacing: Theme.libraryHeaderSpacing

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "music.note.list"
            color: Theme.secondaryText
            size: Theme.emptyIconSize
        }

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("No Saved Loops")
            font: Theme.mediumTitle

            Accessible.role: Accessible.Heading
        }

        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: qsTr("Record and save your first loop to get started")
            color: Theme.secondaryText
        }
    }
}
