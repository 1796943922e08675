import QtQuick
import QtQuick.Controls.impl
import Tessivo

// Stands in the place of the loops while there are none to show.
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

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Loading loops..."
            font: Theme.body
            color: Theme.secondaryText

            Accessible.role: Accessible.ProgressBar
            Accessible.name: text
        }
    }

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.sheetPadding
        visible: !root.isLoading
        spacing: Theme.libraryHeaderSpacing

        IconImage {
            anchors.horizontalCenter: parent.horizontalCenter
            source: Theme.icon("music.note.list")
            color: Theme.secondaryText
            sourceSize.width: Theme.emptyIconSize
            sourceSize.height: Theme.emptyIconSize
        }

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "No Saved Loops"
            font: Theme.mediumTitle
            color: Theme.primaryText

            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Record and save your first loop to get started"
            font: Theme.body
            color: Theme.secondaryText

            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
