import QtQuick
import QtQuick.Controls.impl
import Tessivo

// What a part of a sheet is about. Its children stand at the other end of the line, and do not
// move what is below when they come and go.
Item {
    id: root

    required property string symbol
    required property string text

    default property alias trailing: trailing.data

    implicitWidth: label.x + label.implicitWidth
    implicitHeight: label.implicitHeight

    IconImage {
        id: icon

        anchors.verticalCenter: parent.verticalCenter
        source: Theme.icon(root.symbol)
        color: Theme.secondaryText
        sourceSize.width: Theme.headingIconSize
        sourceSize.height: Theme.headingIconSize
    }

    Text {
        id: label

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        font: Theme.headline
        color: Theme.primaryText

        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Row {
        id: trailing

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
    }
}
