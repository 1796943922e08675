import QtQuick
import Tessivo
import Tessivo.Style

// The sheet that gives the current loop a name and saves it into the library. Each showing is a
// new sheet, with a new name to propose.
Sheet {
    id: root

    required property SimpleLooperViewModel viewModel
    // The loop at the time when the sheet was asked for; empty when there is none.
    required property url currentFileURL

    property bool isSaving: false
    readonly property string name: LoopNames.trimmed(nameField.text)

    function saveLoop() {
        if (name === "") {
            showError(qsTr("Please enter a loop name"));
            return;
        }
        isSaving = true;
        saver.save(viewModel, name);
    }

    function showError(message: string) {
        alert.message = message;
        alert.open();
    }

    title: qsTr("Save Loop")
    color: Theme.controlBackground
    // One from the other, so that the limits never hold back a size that follows the content.
    minimumWidth: Theme.saveSheetWidth
    minimumHeight: Math.ceil(stack.implicitHeight + 2 * Theme.sheetPadding)
    maximumWidth: minimumWidth
    maximumHeight: minimumHeight
    width: maximumWidth
    height: maximumHeight

    isCovered: alert.visible
    canAccept: name !== "" && !isSaving
    Component.onCompleted: nameField.offer(LoopNames.proposal())
    onAccepted: saveLoop()
    // A save that is running goes on.
    onDismissed: viewModel.loopState.showingSaveDialog = false
    onClosing: dismissed()

    LoopSaver {
        id: saver

        onSaved: root.dismissed()
        onFailed: message => {
            root.isSaving = false;
            root.showError(message);
        }
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

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Save Loop")
            font: Theme.title

            Accessible.role: Accessible.Heading
        }

        NameField {
            id: nameField

            width: parent.width
            label: qsTr("Loop Name:")
            placeholderText: qsTr("Enter loop name")
            onAccepted: if (root.canAccept) root.saveLoop()
        }

        MetadataDisplayView {
            width: parent.width
            fileURL: root.currentFileURL
        }

        DialogButtons {
            anchors.horizontalCenter: parent.horizontalCenter
            acceptText: qsTr("Save")
            canAccept: root.canAccept
            onCancelled: root.dismissed()
            onAccepted: root.saveLoop()
        }
    }

    ProgressOverlay {
        anchors.centerIn: parent
        visible: root.isSaving
        text: qsTr("Saving...")
    }

    Alert {
        id: alert

        title: qsTr("Error")
        message: ""
    }
}
