import QtQuick
import Tessivo
import Tessivo.Style

// Asks where to save a file, on desktops that have no panel for that.
Sheet {
    id: root

    required property Window window
    required property string proposedName

    readonly property string fileName: LoopNames.trimmed(name.text)
    property url destination

    // `confirmed`: nothing is there, or the user wants it replaced.
    signal chosen(destination: url, confirmed: bool)

    function save() {
        if (!canAccept)
            return;
        destination = SaveLocations.completed(SaveLocations.inFolder(browser.folder, fileName));
        if (SaveLocations.exists(destination))
            question.open();
        else
            chosen(destination, true);
    }

    transientParent: window
    title: qsTr("Export Loop")
    color: Theme.windowBackground
    minimumWidth: Math.ceil(buttons.implicitWidth + 2 * Theme.sheetPadding)
    minimumHeight: Math.ceil(name.implicitHeight + buttons.implicitHeight
        + browser.implicitHeight + 2 * Theme.sheetSpacing + 2 * Theme.sheetPadding)
    width: Math.max(minimumWidth, Math.min(Theme.savePanelWidth,
        Screen.desktopAvailableWidth - Theme.screenMargin))
    height: Math.max(minimumHeight, Math.min(Theme.savePanelHeight,
        Screen.desktopAvailableHeight - Theme.screenMargin))

    isCovered: question.visible || folderName.visible || failure.visible
    canAccept: SaveLocations.isFileName(fileName)
    Component.onCompleted: name.offer(proposedName)
    onAccepted: save()
    onClosing: dismissed()

    NameField {
        id: name

        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.sheetPadding
        label: qsTr("Save As:")
        labelBefore: true
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

            anchors.left: parent.left
            text: qsTr("New Folder")
            onTriggered: folderName.open()
        }

        DialogButtons {
            id: answers

            anchors.right: parent.right
            acceptText: qsTr("Save")
            canAccept: root.canAccept
            onCancelled: root.dismissed()
            onAccepted: root.save()
        }
    }

    NewFolderView {
        id: folderName

        onFolderNamed: folderName => {
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

        title: qsTr("Error")
        message: ""
    }
}
