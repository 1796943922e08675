pragma ComponentBehavior: Bound
import QtQuick
import Qt.labs.folderlistmodel
import Tessivo
import Tessivo.Style

// Shows the folders in a folder, to open them, and its audio files: a click on one proposes its
// name. The list of extensions only selects what is shown; an export is always a WAV file.
Item {
    id: root

    property url folder

    signal fileChosen(fileName: string)

    function show(other: url) {
        folder = other;
        list.showTop();
    }

    implicitHeight: path.height + Theme.panelSpacing + 3 * path.height

    Item {
        id: path

        anchors.left: parent.left
        anchors.right: parent.right
        height: Math.max(up.height, where.implicitHeight)

        IconButton {
            id: up

            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            enabled: root.folder !== SaveLocations.parentOf(root.folder)
            text: qsTr("Enclosing folder")
            symbol: "arrow.up"
            onTriggered: root.show(SaveLocations.parentOf(root.folder))
        }

        IconButton {
            id: home

            anchors.left: up.right
            anchors.leftMargin: Theme.panelSpacing
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Home folder")
            symbol: "house"
            onTriggered: root.show(SaveLocations.home)
        }

        Label {
            id: where

            anchors.left: home.right
            anchors.leftMargin: Theme.panelSpacing
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: SaveLocations.pathOf(root.folder)
            textFormat: Text.PlainText
            elide: Text.ElideLeft
        }
    }

    Rectangle {
        anchors.top: path.bottom
        anchors.topMargin: Theme.panelSpacing
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        radius: Theme.controlRadius
        color: Theme.controlBackground
        border.color: list.showsCurrent ? Theme.focusRing : Theme.fieldBorder

        RowList {
            id: list

            anchors.fill: parent
            anchors.margins: Theme.menuPadding

            Accessible.name: where.text

            model: FolderListModel {
                folder: root.folder
                showDirsFirst: true
                caseSensitive: false
                nameFilters: ["*.wav", "*.wave", "*.aif", "*.aiff", "*.flac", "*.ogg", "*.mp3",
                    "*.m4a"]
            }

            delegate: FolderRow {
                required property int index

                width: ListView.view.width
                activeFocusOnTab: activeFocus || index === list.currentIndex
                ListView.onPooled: visible = false
                ListView.onReused: visible = true
                onTriggered: {
                    if (fileIsDir)
                        root.show(fileUrl);
                    else
                        root.fileChosen(fileName);
                }
            }
        }
    }
}
