import QtQuick
import QtQuick.Templates as T
import Tessivo

// Asks what a new folder is to be called.
T.Popup {
    id: root

    readonly property bool canMake: SaveLocations.isFileName(field.text)

    signal accepted(folderName: string)

    function accept() {
        if (!canMake)
            return;
        const folderName = field.text;
        close();
        accepted(folderName);
    }

    anchors.centerIn: parent
    width: Math.min(Math.max(Theme.renameSheetWidth, buttons.implicitWidth + 2 * padding),
        parent ? parent.width - 2 * margins : 0)
    implicitHeight: stack.implicitHeight + 2 * padding
    margins: Theme.alertMargin
    padding: Theme.sheetPadding
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    onOpened: {
        field.clear();
        field.forceActiveFocus(Qt.PopupFocusReason);
    }

    T.Overlay.modal: Rectangle {
        color: Theme.dimming
    }

    background: Rectangle {
        radius: Theme.sheetRadius
        color: Theme.controlBackground
        border.color: Theme.outline
    }

    Column {
        id: stack

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.sheetSpacing

        Text {
            id: label

            anchors.horizontalCenter: parent.horizontalCenter
            text: "New Folder"
            font: Theme.headline
            color: Theme.primaryText
        }

        LineField {
            id: field

            width: parent.width
            placeholderText: "Enter folder name"
            onAccepted: root.accept()

            Accessible.role: Accessible.EditableText
            Accessible.name: label.text
        }

        Row {
            id: buttons

            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.pushButtonSpacing

            PushButton {
                text: "Cancel"
                onTriggered: root.close()
            }

            PushButton {
                text: "Create"
                prominent: true
                enabled: root.canMake
                onTriggered: root.accept()
            }
        }
    }
}
