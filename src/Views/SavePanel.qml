import QtQuick
import QtQuick.Templates as T
import Tessivo

// Asks where to save a file, where the desktop has no panel for that.
T.ApplicationWindow {
    id: root

    required property Window window
    required property string proposedName

    readonly property bool isAnswering: question.visible || folderName.visible || failure.visible
    readonly property string fileName: LoopNames.trimmed(name.text)
    readonly property bool canSave: SaveLocations.isFileName(fileName)
    property url destination

    signal chosen(destination: url, confirmed: bool)
    signal cancelled()

    function save() {
        if (!canSave)
            return;
        destination = SaveLocations.completed(SaveLocations.inFolder(browser.folder, fileName));
        if (SaveLocations.exists(destination))
            question.open();
        else
            chosen(destination, true);
    }

    visible: true
    transientParent: window
    modality: Qt.WindowModal
    flags: Qt.Dialog
    title: "Export Loop"
    color: Theme.windowBackground
    minimumWidth: Math.ceil(buttons.implicitWidth + 2 * Theme.sheetPadding)
    minimumHeight: Math.ceil(name.implicitHeight + buttons.implicitHeight
        + browser.implicitHeight + 2 * Theme.sheetSpacing + 2 * Theme.sheetPadding)
    width: Math.max(minimumWidth, Math.min(Theme.savePanelWidth,
        Screen.desktopAvailableWidth - Theme.screenMargin))
    height: Math.max(minimumHeight, Math.min(Theme.savePanelHeight,
        Screen.desktopAvailableHeight - Theme.screenMargin))

    Component.onCompleted: name.offer(proposedName)
    onClosing: cancelled()

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.canSave && !root.isAnswering
        autoRepeat: false
        onActivated: root.save()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: !root.isAnswering
        autoRepeat: false
        onActivated: root.cancelled()
    }

    FileNameField {
        id: name

        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.sheetPadding
        onAccepted: root.save()
    }

    FolderBrowser {
        id: browser

        anchors.top: name.bottom
        anchors.bottom: buttons.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.sheetPadding
        folder: SaveLocations.folder
        onFileChosen: fileName => name.text = fileName
    }

    Item {
        id: buttons

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.sheetPadding
        implicitWidth: newFolder.implicitWidth + answers.implicitWidth + Theme.pushButtonSpacing
        implicitHeight: answers.implicitHeight

        PushButton {
            id: newFolder

            text: "New Folder"
            onTriggered: folderName.open()
        }

        Row {
            id: answers

            anchors.right: parent.right
            spacing: Theme.pushButtonSpacing

            PushButton {
                text: "Cancel"
                onTriggered: root.cancelled()
            }

            PushButton {
                text: "Save"
                prominent: true
                enabled: root.canSave
                onTriggered: root.save()
            }
        }
    }

    NewFolderView {
        id: folderName

        onAccepted: folderName => {
            failure.message = SaveLocations.makeFolder(browser.folder, folderName);
            if (failure.message === "")
                browser.show(SaveLocations.inFolder(browser.folder, folderName));
            else
                failure.open();
        }
    }

    ReplaceAlert {
        id: question

        fileName: SaveLocations.nameOf(root.destination)
        onConfirmed: root.chosen(root.destination, true)
    }

    Alert {
        id: failure

        title: "Error"
        message: ""
    }
}
