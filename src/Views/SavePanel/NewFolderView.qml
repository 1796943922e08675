import QtQuick.Templates as T
import Tessivo
import Tessivo.Style

// Asks for the name of a new folder.
NameDialog {
    id: root

    signal folderNamed(folderName: string)

    title: "New Folder"
    placeholderText: "Enter folder name"
    acceptText: "Create"
    canAccept: SaveLocations.isFileName(name)
    closePolicy: T.Popup.CloseOnEscape
    onAboutToShow: name = ""
    onCancelled: close()
    onAccepted: {
        close();
        folderNamed(name);
    }
}
