import QtQuick
import QtQuick.Templates as T
import Tessivo
import Tessivo.Style

// Gives a loop of the library another name.
NameDialog {
    id: root

    required property LoopLibraryViewModel viewModel
    // False while an alert in front of the dialog has the keyboard focus.
    required property bool keysEnabled

    title: qsTr("Rename Loop")
    titleFont: Theme.title
    label: qsTr("New Name:")
    placeholderText: qsTr("Enter new name")
    acceptText: qsTr("Rename")
    canAccept: LoopNames.trimmed(viewModel.newLoopName) !== ""
    name: viewModel.newLoopName
    onNameChanged: if (name !== viewModel.newLoopName) viewModel.newLoopName = name
    closePolicy: T.Popup.NoAutoClose
    onAccepted: viewModel.confirmRename()
    onCancelled: {
        viewModel.showingRenameDialog = false;
        viewModel.newLoopName = "";
    }

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.visible && root.keysEnabled
        autoRepeat: false
        onActivated: root.accept()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: root.visible && root.keysEnabled
        autoRepeat: false
        onActivated: root.cancelled()
    }
}
