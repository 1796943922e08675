import QtQuick
import Tessivo.Style

// A rounded frame around a column of items that belong together.
Rectangle {
    id: root

    default property alias content: column.data

    implicitHeight: column.implicitHeight + 2 * Theme.panelPadding
    radius: Theme.panelRadius
    color: Theme.controlBackground
    border.color: Theme.outline

    Column {
        id: column

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.panelPadding
        spacing: Theme.panelSpacing
    }
}
