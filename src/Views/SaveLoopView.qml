import QtQuick
import QtQuick.Templates as T
import Tessivo

// The sheet that gives the current loop a name and saves it into the library. It lives only
// while it is shown, so that every showing begins afresh.
T.ApplicationWindow {
    id: root

    required property SimpleLooperViewModel viewModel
    // The loop as it was when the sheet was asked for; empty when there is none.
    required property url currentFileURL

    property bool isSaving: false
    readonly property string name: LoopNames.trimmed(nameField.text)
    readonly property bool canSave: name !== "" && !isSaving

    function saveLoop() {
        if (name === "") {
            showError("Please enter a loop name");
            return;
        }
        isSaving = true;
        saver.save(viewModel, name);
    }

    // Ends the showing. A save that is running goes on.
    function dismiss() {
        viewModel.loopState.showingSaveDialog = false;
    }

    function showError(message: string) {
        alert.message = message;
        alert.open();
    }

    visible: true
    modality: Qt.WindowModal
    flags: Qt.Dialog
    title: "Save Loop"
    color: Theme.controlBackground
    // One from the other, so that the limits never hold back a size that follows the content.
    minimumWidth: Theme.saveSheetWidth
    minimumHeight: Math.ceil(stack.implicitHeight + 2 * Theme.sheetPadding)
    maximumWidth: minimumWidth
    maximumHeight: minimumHeight
    width: maximumWidth
    height: maximumHeight

    Component.onCompleted: nameField.offer(LoopNames.offered())
    onClosing: dismiss()

    LoopSaver {
        id: saver

        onSaved: root.dismiss()
        onFailed: message => {
            root.isSaving = false;
            root.showError(message);
        }
    }

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.canSave && !alert.visible
        autoRepeat: false
        onActivated: root.saveLoop()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: !alert.visible
        autoRepeat: false
        onActivated: root.dismiss()
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.sheetRadius
        color: Theme.controlBackground
        border.color: Theme.outline
    }

    Column {
        id: stack

        anchors.fill: parent
        anchors.margins: Theme.sheetPadding
        spacing: Theme.sheetSpacing

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Save Loop"
            font: Theme.title
            color: Theme.primaryText

            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        LoopNameField {
            id: nameField

            width: parent.width
            onAccepted: if (root.canSave) root.saveLoop()
        }

        MetadataDisplayView {
            width: parent.width
            fileURL: root.currentFileURL
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.pushButtonSpacing

            PushButton {
                text: "Cancel"
                onTriggered: root.dismiss()
            }

            PushButton {
                text: "Save"
                prominent: true
                enabled: root.canSave
                onTriggered: root.saveLoop()
            }
        }
    }

    ProgressOverlay {
        anchors.centerIn: parent
        visible: root.isSaving
        text: "Saving..."
    }

    Alert {
        id: alert

        title: "Error"
        message: ""
    }
}
