import QtQuick
import Tessivo
import Tessivo.Style

// The progress of an import that takes a while, and the button that ends it.
Rectangle {
    id: root

    required property LoopImport loopImport

    visible: patience.isOver
    implicitHeight: Math.max(words.implicitHeight, cancel.implicitHeight) + 2 * Theme.panelSpacing
    radius: Theme.panelRadius
    color: Theme.controlBackground
    border.color: Theme.outline

    // Short imports show no progress.
    Patience {
        id: patience

        isBusy: root.loopImport.isImporting
    }

    Label {
        id: words

        anchors.left: parent.left
        anchors.right: cancel.left
        anchors.margins: Theme.panelPadding
        anchors.verticalCenter: parent.verticalCenter
        text: root.loopImport.activity
        textFormat: Text.PlainText
        elide: Text.ElideMiddle
        maximumLineCount: 1
        font: Theme.caption
        color: Theme.secondaryText

        Accessible.role: Accessible.ProgressBar
        Accessible.description: Math.round(100 * root.loopImport.progress) + " %"
    }

    PushButton {
        id: cancel

        anchors.right: parent.right
        anchors.rightMargin: Theme.panelPadding
        anchors.verticalCenter: parent.verticalCenter
        small: true
        text: qsTr("Cancel Import")
        onTriggered: root.loopImport.cancel()
    }

    Rectangle {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.margins: Theme.rowRadius
        anchors.bottomMargin: 1
        width: (parent.width - 2 * Theme.rowRadius) * root.loopImport.progress
        height: Theme.focusRingWidth
        color: Theme.accent
    }
}
