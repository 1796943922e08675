import QtQuick
import Tessivo.Style

// The heading of a part of a sheet. Its children are placed at the other end of the line; they do
// not change its height.
Item {
    id: root

    required property string symbol
    required property string text

    default property alias trailing: trailing.data

    implicitWidth: label.x + label.implicitWidth
    implicitHeight: label.implicitHeight

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        symbol: root.symbol
        color: Theme.secondaryText
        size: Theme.headingIconSize
    }

    Label {
        id: label

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        font: Theme.headline

        Accessible.role: Accessible.Heading
    }

    Row {
        id: trailing

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
    }
}
