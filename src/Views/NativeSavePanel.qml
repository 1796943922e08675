import QtQuick
import QtQuick.Dialogs
import Tessivo

// Asks where to save a file, with the panel of the desktop. That one asks by itself before a
// file of the chosen name is replaced, but knows nothing of the extension that we add.
FileDialog {
    id: root

    required property Window window
    required property string proposedName

    signal chosen(destination: url, confirmed: bool)
    signal cancelled()

    parentWindow: window
    title: "Export Loop"
    fileMode: FileDialog.SaveFile
    nameFilters: ["Audio files (*.wav *.wave *.aif *.aiff *.flac *.ogg *.mp3 *.m4a)", "All files (*)"]
    currentFolder: SaveLocations.folder
    selectedFile: SaveLocations.inFolder(SaveLocations.folder, proposedName)
    Component.onCompleted: open()
    onRejected: cancelled()
    onAccepted: {
        const completed = SaveLocations.completed(selectedFile);
        chosen(completed, completed === selectedFile || !SaveLocations.exists(completed));
    }
}
