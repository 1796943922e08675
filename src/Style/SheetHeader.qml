import QtQuick
import Tessivo.Style

// The top of a sheet: a title between the two buttons that close the sheet.
Rectangle {
    id: root

    required property string title
    required property string acceptText

    signal cancelled()
    signal accepted()

    implicitWidth: cancel.implicitWidth + title.implicitWidth + accept.implicitWidth
        + 2 * (Theme.sheetHeaderHorizontalPadding + Theme.panelSpacing)
    implicitHeight: accept.implicitHeight + 2 * Theme.sheetHeaderVerticalPadding
    color: Theme.controlBackground

    PushButton {
        id: cancel

        anchors.left: parent.left
        anchors.leftMargin: Theme.sheetHeaderHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("Cancel")
        minimumWidth: 0
        onTriggered: root.cancelled()
    }

    Label {
        id: title

        anchors.left: cancel.right
        anchors.right: accept.left
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignHCenter
        text: root.title
        font: Theme.headline

        Accessible.role: Accessible.Heading
    }

    PushButton {
        id: accept

        anchors.right: parent.right
        anchors.rightMargin: Theme.sheetHeaderHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        text: root.acceptText
        minimumWidth: 0
        font: Theme.emphasizedBody
        prominent: true
        onTriggered: root.accepted()
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.separator
    }
}
