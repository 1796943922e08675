import QtQuick
import Tessivo.Style

// Asks for a name.
ModalPopup {
    id: root

    required property string title
    required property string acceptText
    required property bool canAccept
    property font titleFont: Theme.headline
    // Of the field. Without one, the title names the field, also for a screen reader.
    property string label: ""
    property alias placeholderText: field.placeholderText
    property alias name: field.text

    signal cancelled()
    // Only while canAccept is true.
    signal accepted()

    function accept() {
        if (canAccept)
            accepted();
    }

    width: Math.min(Math.max(Theme.renameSheetWidth, buttons.implicitWidth + 2 * padding),
        parent ? parent.width - 2 * margins : 0)
    implicitHeight: stack.implicitHeight + 2 * padding
    padding: Theme.sheetPadding
    onOpened: field.begin()

    Column {
        id: stack

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.sheetSpacing

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.title
            font: root.titleFont

            Accessible.role: Accessible.Heading
            Accessible.ignored: root.label === ""
        }

        NameField {
            id: field

            width: parent.width
            label: root.label
            accessibleName: root.label || root.title
            onAccepted: root.accept()
        }

        DialogButtons {
            id: buttons

            anchors.horizontalCenter: parent.horizontalCenter
            acceptText: root.acceptText
            canAccept: root.canAccept
            onCancelled: root.cancelled()
            onAccepted: root.accept()
        }
    }
}
