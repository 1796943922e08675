import QtQuick
import QtQuick.Templates as T
import Tessivo

// Gives a loop of the library another name, in front of the library.
T.Popup {
    id: root

    required property LoopLibraryViewModel viewModel
    // False while an alert in front of it owns the keyboard.
    required property bool keysEnabled

    readonly property bool canRename: LoopNames.trimmed(viewModel.newLoopName) !== ""

    function confirm() {
        if (canRename)
            viewModel.confirmRename();
    }

    function cancel() {
        viewModel.showingRenameDialog = false;
        viewModel.newLoopName = "";
    }

    anchors.centerIn: parent
    width: Math.min(Math.max(Theme.renameSheetWidth, buttons.implicitWidth + 2 * padding),
        parent ? parent.width - 2 * margins : 0)
    implicitHeight: stack.implicitHeight + 2 * padding
    margins: Theme.alertMargin
    padding: Theme.sheetPadding
    modal: true
    focus: true
    closePolicy: T.Popup.NoAutoClose
    onOpened: {
        field.selectAll();
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

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.visible && root.keysEnabled && root.canRename
        autoRepeat: false
        onActivated: root.confirm()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: root.visible && root.keysEnabled
        autoRepeat: false
        onActivated: root.cancel()
    }

    Column {
        id: stack

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.sheetSpacing

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Rename Loop"
            font: Theme.title
            color: Theme.primaryText

            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Column {
            width: parent.width
            spacing: Theme.panelSpacing

            Text {
                id: label

                text: "New Name:"
                font: Theme.headline
                color: Theme.primaryText
            }

            LineField {
                id: field

                width: parent.width
                placeholderText: "Enter new name"
                text: root.viewModel.newLoopName
                onTextChanged: if (text !== root.viewModel.newLoopName) root.viewModel.newLoopName = text
                onAccepted: root.confirm()

                Accessible.role: Accessible.EditableText
                Accessible.name: label.text
            }
        }

        Row {
            id: buttons

            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.pushButtonSpacing

            PushButton {
                text: "Cancel"
                onTriggered: root.cancel()
            }

            PushButton {
                text: "Rename"
                prominent: true
                enabled: root.canRename
                onTriggered: root.confirm()
            }
        }
    }
}
