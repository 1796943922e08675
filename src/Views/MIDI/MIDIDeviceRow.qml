import QtQuick
import Tessivo.Style

// One device to pick. The device chooses its name.
PlainButton {
    id: root

    required property int index
    required property string name
    required property bool isCurrent

    text: name
    implicitHeight: label.height + 2 * Theme.deviceRowPadding

    Accessible.checkable: true
    Accessible.checked: isCurrent

    HoverTip {
        text: label.truncated ? root.name : ""
        focused: root.activeFocus
    }

    NameText {
        id: label

        anchors.left: parent.left
        anchors.right: mark.left
        anchors.rightMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.name
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
