import QtQuick
import Tessivo.Style

// Asks before a file is replaced.
Alert {
    id: root

    required property string fileName

    signal confirmed()

    title: qsTr("Replace File")
    message: qsTr("'%1' already exists. Do you want to replace it?").arg(fileName)
    actions: [
        AlertAction {
            text: qsTr("Cancel")
            role: AlertAction.Cancel
        },
        AlertAction {
            text: qsTr("Replace")
            role: AlertAction.Destructive
            onTriggered: root.confirmed()
        }
    ]
}
