import QtQuick
import Tessivo.Style

// Asks before a file is replaced.
Alert {
    id: root

    required property string fileName

    signal confirmed()

    title: "Replace File"
    message: "'" + fileName + "' already exists. Do you want to replace it?"
    actions: [
        AlertAction {
            text: "Cancel"
            role: AlertAction.Cancel
        },
        AlertAction {
            text: "Replace"
            role: AlertAction.Destructive
            onTriggered: root.confirmed()
        }
    ]
}
