import QtQuick
import Tessivo

// What a row's buttons do. "Load" is always there; the others take their room while they are
// wanted, and fade away after that.
Row {
    id: root

    required property string loopName
    required property bool isCurrentlyPreviewing
    required property bool isWanted
    // The Tab key goes through them.
    required property bool takesKeys

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
            activeFocusOnTab: root.takesKeys
            text: root.isCurrentlyPreviewing ? "Stop preview" : "Preview loop"
            symbol: root.isCurrentlyPreviewing ? "pause.fill" : "play.fill"
            color: root.isCurrentlyPreviewing ? Theme.orange : Theme.blue
            onTriggered: root.preview()
        }

        IconButton {
            activeFocusOnTab: root.takesKeys
            text: "Export loop"
            symbol: "square.and.arrow.up"
            onTriggered: root.exportLoop()
        }

        IconButton {
            activeFocusOnTab: root.takesKeys
            text: "Rename loop"
            symbol: "pencil"
            onTriggered: root.rename()
        }

        IconButton {
            activeFocusOnTab: root.takesKeys
            text: "Delete loop"
            symbol: "trash"
            color: Theme.red
            onTriggered: root.deleteLoop()
        }
    }

    PushButton {
        activeFocusOnTab: root.takesKeys
        text: "Load"
        small: true
        prominent: true
        font: Theme.emphasizedCaption
        horizontalPadding: Theme.loadButtonHorizontalPadding
        verticalPadding: Theme.loadButtonVerticalPadding
        onTriggered: root.load()

        Accessible.description: root.loopName
    }
}
