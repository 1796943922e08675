import QtQuick
import QtQuick.Templates as T
import Tessivo

// The sheet that browses the saved loops. It lives only while it is shown, so that every showing
// begins with a model of its own, which reads the library afresh and takes its preview with it
// when it ends. What is in front of the loops, a question or an alert, is answered or closed
// before the sheet itself can be.
T.ApplicationWindow {
    id: root

    property LoopLibraryViewModel viewModel: LoopLibraryViewModel { }
    // Where an export goes, while that is being asked.
    readonly property QtObject savePanel: exporting.savePanel
    readonly property bool isAnswering: rename.visible || deletion.visible || failure.visible
        || exporting.isAsking

    onIsAnsweringChanged: if (!isAnswering) settling.restart()

    signal loadLoop(loop: savedLoop)
    signal dismissed()

    function load(loop: savedLoop) {
        loadLoop(loop);
        dismissed();
    }

    visible: true
    modality: Qt.WindowModal
    flags: Qt.Dialog
    title: "Loop Library"
    color: Theme.controlBackground
    // Large system fonts may need more than the usual size, and a small screen may not have it.
    minimumWidth: Math.max(Theme.librarySheetWidth, Math.ceil(header.implicitWidth))
    minimumHeight: Math.min(Math.max(Theme.librarySheetHeight, 2 * Math.ceil(header.implicitHeight)),
        Screen.desktopAvailableHeight - Theme.screenMargin)
    maximumWidth: minimumWidth
    maximumHeight: minimumHeight
    width: maximumWidth
    height: maximumHeight

    Component.onCompleted: header.search.begin(Qt.OtherFocusReason)
    onClosing: close => {
        close.accepted = !isAnswering;
        if (!isAnswering)
            dismissed();
        else if (failure.visible)
            failure.close();
        else if (deletion.visible)
            deletion.close();
        else if (exporting.isAsking)
            exporting.cancel();
        else
            rename.cancel();
    }

    // Return pressed twice in a question is not meant for the row that gets the keyboard back.
    Timer {
        id: settling

        interval: Application.styleHints.mouseDoubleClickInterval
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: !root.isAnswering
        autoRepeat: false
        onActivated: root.dismissed()
    }

    Shortcut {
        sequences: ["Ctrl+F"]
        enabled: !root.isAnswering
        autoRepeat: false
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

    LoopExport {
        id: exporting

        anchors.fill: parent
        window: root
        onFailed: message => {
            root.viewModel.errorMessage = "Failed to export loop: " + message;
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

        title: "Delete Loop"
        message: root.viewModel.selectedLoopName === "" ? ""
            : "Are you sure you want to delete '" + root.viewModel.selectedLoopName
                + "'? This action cannot be undone."
        actions: [
            AlertAction {
                text: "Cancel"
                role: AlertAction.Cancel
            },
            AlertAction {
                text: "Delete"
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

        title: "Error"
        message: root.viewModel.errorMessage
        visible: root.viewModel.showingError
        onClosed: if (root.viewModel.showingError) root.viewModel.clearError()
    }
}
