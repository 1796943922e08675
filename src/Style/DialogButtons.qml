import QtQuick
import Tessivo.Style

// The two ways out of a dialog: leave everything as it is, or do what the dialog is for.
Row {
    id: root

    required property string acceptText
    required property bool canAccept

    signal cancelled()
    signal accepted()

    spacing: Theme.pushButtonSpacing

    PushButton {
        text: qsTr("Cancel")
        onTriggered: root.cancelled()
    }

    PushButton {
        text: root.acceptText
        prominent: true
        enabled: root.canAccept
        onTriggered: root.accepted()
    }
}
