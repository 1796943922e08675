import QtQuick
import QtQuick.Dialogs
import Tessivo

// Asks where to save a file, with the panel of the desktop. That panel asks before it replaces the
// chosen file, but does not know the extension that we add to the name.
FileDialog {
    id: root

    required property Window window
    required property string proposedName

    // `confirmed`: nothing is there, or the user wants it replaced.
    signal chosen(destination: url, confirmed: bool)
    signal dismissed()

    parentWindow: window
    title: qsTr("Export Loop")
    fileMode: FileDialog.SaveFile
    nameFilters: [qsTr("Audio files") + " (*.wav *.wave *.aif *.aiff *.flac *.ogg *.mp3 *.m4a)",
        qsTr("All files") + " (*)"]
    currentFolder: SaveLocations.folder
    selectedFile: SaveLocations.inFolder(SaveLocations.folder, proposedName)
    Component.onCompleted: open()
    onRejected: dismissed()
    onAccepted: {
        const completed = SaveLocations.completed(selectedFile);
        chosen(completed, completed === selectedFile || !SaveLocations.exists(completed));
    }
}
