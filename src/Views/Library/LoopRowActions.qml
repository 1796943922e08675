import QtQuick
import Tessivo.Style

// The buttons of a row. "Load" is always there; the others fade in when they are wanted, and out.
Row {
    id: root

    required property string loopName
    required property bool isCurrentlyPreviewing
    required property bool isWanted
    // The Tab key reaches the buttons.
    required property bool isInTabOrder

    signal load()
    signal preview()
    signal exportLoop()
    signal rename()
    signal deleteLoop()

    spacing: Theme.rowSpacing

    Row {
        id: onDemand

        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.rowButtonSpacing
        visible: root.isWanted || opacity > 0
        opacity: root.isWanted ? 1 : 0

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.stateAnimation
                easing.type: Easing.InOutQuad
            }
        }

        IconButton {
            activeFocusOnTab: root.isInTabOrder
            text: root.isCurrentlyPreviewing ? qsTr("Stop preview") : qsTr("Preview loop")
            symbol: root.isCurrentlyPreviewing ? "pause.fill" : "play.fill"
            color: root.isCurrentlyPreviewing ? Theme.orange : Theme.blue
            onTriggered: root.preview()
        }

        IconButton {
            activeFocusOnTab: root.isInTabOrder
            text: qsTr("Export loop")
            symbol: "square.and.arrow.up"
            onTriggered: root.exportLoop()
        }

        IconButton {
            activeFocusOnTab: root.isInTabOrder
            text: qsTr("Rename loop")
            symbol: "pencil"
            onTriggered: root.rename()
        }

        IconButton {
            activeFocusOnTab: root.isInTabOrder
            text: qsTr("Delete loop")
            symbol: "trash"
            color: Theme.red
            onTriggered: root.deleteLoop()
        }
    }

    PushButton {
        activeFocusOnTab: root.isInTabOrder
        text: qsTr("Load")
        small: true
        prominent: true
        font: Theme.emphasizedCaption
        horizontalPadding: Theme.loadButtonHorizontalPadding
        verticalPadding: Theme.loadButtonVerticalPadding
        description: root.loopName
        onTriggered: root.load()
    }
}
