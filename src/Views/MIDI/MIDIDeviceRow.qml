import QtQuick
import Tessivo.Style

// One device to pick. The device chooses its name, which may be long or look like markup.
PlainButton {
    id: root

    required property int index
    required property string name
    required property bool isCurrent

    text: name
    implicitHeight: label.implicitHeight + 2 * Theme.deviceRowPadding

    Accessible.checkable: true
    Accessible.checked: isCurrent

    HoverTip {
        text: label.truncated ? root.name : ""
        focused: root.activeFocus
    }

    Text {
        id: label

        anchors.left: parent.left
        anchors.right: mark.left
        anchors.rightMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.name
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignLeft
        font: root.isCurrent ? Theme.emphasizedBody : Theme.body
        color: root.isCurrent ? Theme.blue : Theme.primaryText
    }

    Icon {
        id: mark

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isCurrent
        symbol: "checkmark.circle.fill"
        color: Theme.blue
        size: Theme.captionIconSize
    }
}
