import QtQuick
import QtQuick.Controls.impl
import Tessivo

// One device to pick. The name is the device's own and may be anything.
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
        font: root.isCurrent ? Theme.emphasizedBody : Theme.body
        color: root.isCurrent ? Theme.blue : Theme.primaryText
    }

    IconImage {
        id: mark

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isCurrent
        source: Theme.icon("checkmark.circle.fill")
        color: Theme.blue
        sourceSize.width: Theme.captionIconSize
        sourceSize.height: Theme.captionIconSize
    }
}
