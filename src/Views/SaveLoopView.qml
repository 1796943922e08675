import QtQuick
import Tessivo

// The sheet that gives the current loop a name and saves it into the library. It lives only
// while it is shown, so that every showing begins afresh.
Window {
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
    width: Theme.saveSheetWidth
    height: Math.ceil(stack.implicitHeight + 2 * Theme.sheetPadding)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

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
