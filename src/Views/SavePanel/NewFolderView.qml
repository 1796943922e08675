import QtQuick.Templates as T
import Tessivo
import Tessivo.Style

NameDialog {
    id: root

    signal folderNamed(folderName: string)

    title: qsTr("New Folder")
    placeholderText: qsTr("Enter folder name")
    acceptText: qsTr("Create")
    canAccept: SaveLocations.isFileName(name)
    closePolicy: T.Popup.CloseOnEscape
    onAboutToShow: name = ""
    onCancelled: close()
    onAccepted: {
        close();
        folderNamed(name);
    }
}
