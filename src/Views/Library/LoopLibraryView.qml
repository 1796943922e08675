import QtQuick
import Tessivo
import Tessivo.Style

// The sheet that browses the saved loops. Each showing is a new sheet with a view model of its own,
// which reads the library afresh and ends its preview when the sheet goes. While a question or an
// alert is in front of the loops, closing the sheet only closes that.
Sheet {
    id: root

    required property LoopLibraryViewModel viewModel
    required property LoopImport loopImport
    // The panel that asks for the destination of an export, while it does.
    readonly property QtObject savePanel: exporting.savePanel

    onIsCoveredChanged: if (!isCovered) settling.restart()

    signal loadLoop(loop: savedLoop)

    function load(loop: savedLoop) {
        loadLoop(loop);
        dismissed();
    }

    title: qsTr("Loop Library")
    color: Theme.controlBackground
    // Large system fonts may need more than the usual size, and a small screen may not have it.
    minimumWidth: Math.max(Theme.librarySheetWidth, Math.ceil(header.implicitWidth))
    minimumHeight: Math.min(Math.max(Theme.librarySheetHeight, 2 * Math.ceil(header.implicitHeight)),
        Screen.desktopAvailableHeight - Theme.screenMargin)
    maximumWidth: minimumWidth
    maximumHeight: minimumHeight
    width: maximumWidth
    height: maximumHeight

    isCovered: rename.visible || deletion.visible || failure.visible || report.visible
        || exporting.isAsking
    Component.onCompleted: header.search.begin(Qt.OtherFocusReason)
    onClosing: close => {
        close.accepted = !isCovered;
        if (!isCovered)
            dismissed();
        else if (failure.visible)
            failure.close();
        else if (report.visible)
            report.close();
        else if (deletion.visible)
            deletion.close();
        else if (exporting.isAsking)
            exporting.cancel();
        else
            rename.cancelled();
    }

    // When Return is pressed twice in a question, the second press must not load the row that gets
    // the keyboard focus back.
    Timer {
        id: settling

        interval: Application.styleHints.mouseDoubleClickInterval
    }

    KeyShortcut {
        keys: ["Ctrl+F"]
        enabled: !root.isCovered
        onActivated: header.search.begin(Qt.ShortcutFocusReason)
    }

    LoopLibraryHeader {
        id: header

        anchors.left: parent.left
        anchors.right: parent.right
        viewModel: root.viewModel
        onDone: root.dismissed()
        onLeftDownwards: if (list.visible && list.count > 0) list.begin()
    }

    LibraryNotice {
        anchors.fill: list
        visible: !list.visible
        isLoading: root.viewModel.isLoading
    }

    LoopListView {
        id: list

        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        visible: !root.viewModel.isLoading && !root.viewModel.isEmpty
        viewModel: root.viewModel
        returnLoads: !settling.running
        onLoad: loop => root.load(loop)
        onExportLoop: loop => exporting.begin(loop)
        onTyped: text => header.search.append(text)
    }

    LoopDropArea {
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        enabled: !root.isCovered
        onFilesDropped: files => root.loopImport.importFiles(files)
    }

    LoopImportView {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.panelPadding
        loopImport: root.loopImport
    }

    Patience {
        id: patience

        isBusy: root.viewModel.isWaitingForDisk
    }

    ProgressOverlay {
        anchors.centerIn: list
        visible: patience.isOver
        text: qsTr("Waiting for the disk...")
    }

    LoopExport {
        id: exporting

        anchors.fill: parent
        window: root
        onFailed: message => {
            root.viewModel.errorMessage = qsTr("Failed to export loop: %1").arg(message);
            root.viewModel.showingError = true;
        }
    }

    RenameLoopView {
        id: rename

        viewModel: root.viewModel
        keysEnabled: !failure.visible
        visible: root.viewModel.showingRenameDialog
    }

    Alert {
        id: deletion

        title: qsTr("Delete Loop")
        message: root.viewModel.selectedLoopName === "" ? ""
            : qsTr("Are you sure you want to delete '%1'? This action cannot be undone.")
                .arg(root.viewModel.selectedLoopName)
        actions: [
            AlertAction {
                text: qsTr("Cancel")
                role: AlertAction.Cancel
            },
            AlertAction {
                text: qsTr("Delete")
                role: AlertAction.Destructive
                onTriggered: root.viewModel.confirmDelete()
            }
        ]
        visible: root.viewModel.showingDeleteConfirmation
        onClosed: {
            if (root.viewModel.showingDeleteConfirmation)
                root.viewModel.showingDeleteConfirmation = false;
        }
    }

    Alert {
        id: failure

        title: qsTr("Error")
        message: root.viewModel.errorMessage
        visible: root.viewModel.showingError
        onClosed: if (root.viewModel.showingError) root.viewModel.clearError()
    }

    Alert {
        id: report

        title: qsTr("Import")
        message: root.loopImport.report
        visible: root.loopImport.report !== "" && !failure.visible
        onClosed: if (!failure.visible) root.loopImport.clearReport()
    }
}
