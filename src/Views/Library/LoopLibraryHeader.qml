import QtQuick
import Tessivo
import Tessivo.Style

// The top of the library: search, sort order, summary, preview volume.
Rectangle {
    id: root

    required property LoopLibraryViewModel viewModel

    readonly property var orders: viewModel.sortOrders
    property alias search: search

    signal done()
    // The keyboard focus should move from the search field to the list.
    signal leftDownwards()

    implicitWidth: Math.max(summary.implicitWidth + volume.implicitWidth + refresh.implicitWidth
        + 2 * Theme.searchSpacing, 3 * sort.implicitWidth) + 2 * Theme.libraryHeaderPadding
    implicitHeight: rows.implicitHeight + 2 * Theme.libraryHeaderPadding
    color: Theme.controlBackground

    Column {
        id: rows

        anchors.fill: parent
        anchors.margins: Theme.libraryHeaderPadding
        spacing: Theme.libraryHeaderSpacing

        Item {
            width: parent.width
            implicitHeight: Math.max(title.implicitHeight, done.implicitHeight)

            Label {
                id: title

                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Loop Library")
                font: Theme.title

                Accessible.role: Accessible.Heading
            }

            PushButton {
                id: done

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Done")
                minimumWidth: 0
                onTriggered: root.done()
            }
        }

        Item {
            width: parent.width
            implicitHeight: Math.max(search.implicitHeight, sort.implicitHeight)

            SearchField {
                id: search

                anchors.left: parent.left
                anchors.right: sort.left
                anchors.rightMargin: Theme.searchSpacing
                anchors.verticalCenter: parent.verticalCenter
                placeholderText: qsTr("Search loops...")
                text: root.viewModel.searchText
                onTextChanged: if (text !== root.viewModel.searchText) root.viewModel.searchText = text
                onLeftDownwards: root.leftDownwards()
            }

            PopUpButton {
                id: sort

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: Math.max(Theme.sortMenuWidth, implicitWidth)
                text: qsTr("Sort")
                choices: root.orders.map(choice => choice.label)
                chosen: root.orders.findIndex(choice => choice.order === root.viewModel.sortOrder)
                onPicked: index => root.viewModel.sortOrder = root.orders[index].order
            }
        }

        Item {
            width: parent.width
            implicitHeight: Math.max(volume.implicitHeight, refresh.implicitHeight)
            visible: !root.viewModel.isEmpty

            Label {
                id: summary

                anchors.left: parent.left
                anchors.right: volume.left
                anchors.verticalCenter: parent.verticalCenter
                text: root.viewModel.libraryStats
                elide: Text.ElideRight
                font: Theme.caption
                color: Theme.secondaryText
            }

            PreviewVolume {
                id: volume

                anchors.right: refresh.left
                anchors.rightMargin: Theme.searchSpacing
                anchors.verticalCenter: parent.verticalCenter
                viewModel: root.viewModel
            }

            PushButton {
                id: refresh

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Refresh")
                small: true
                tint: Theme.blue
                onTriggered: root.viewModel.refreshLibrary()
            }
        }
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.outline
    }
}
