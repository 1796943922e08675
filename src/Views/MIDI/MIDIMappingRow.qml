import QtQuick
import Tessivo
import Tessivo.Style

// The note of one transport command, and the button that learns another one. The row is tinted for
// a moment when its note was played or learned.
Rectangle {
    id: root

    required property MIDISettings settings
    required property NoteMapping mapping
    required property string symbol
    required property color symbolColor

    readonly property string noteText: mapping.noteName + " (" + mapping.note + ")"

    implicitWidth: command.width + note.width + learning.narrowWidth
        + 2 * Theme.mappingColumnSpacing
    implicitHeight: learning.implicitHeight + 2 * Theme.mappingRowPadding
    radius: Theme.mappingRowRadius
    color: mapping.isTriggered ? Qt.alpha(Theme.blue, Theme.tint) : "transparent"

    Accessible.role: Accessible.Grouping
    Accessible.name: mapping.label + ": " + noteText
    Accessible.description: mapping.isTriggered ? qsTr("Triggered") : ""

    Row {
        id: command

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.mappingColumnSpacing

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            symbol: root.symbol
            color: root.symbolColor
            size: Theme.mappingIconSize
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.max(Theme.mappingLabelWidth, implicitWidth)
            text: root.mapping.label
            horizontalAlignment: Text.AlignLeft
            font: Theme.body
            color: Theme.primaryText
        }
    }

    Row {
        id: note

        anchors.right: learning.left
        anchors.rightMargin: Theme.mappingColumnSpacing
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.mappingColumnSpacing

        Text {
            id: noteName

            width: Theme.noteNameWidth
            horizontalAlignment: Text.AlignRight
            text: root.mapping.noteName
            font: Theme.monospacedBody
            color: Theme.secondaryText
        }

        Text {
            anchors.baseline: noteName.baseline
            width: Theme.noteNumberWidth
            horizontalAlignment: Text.AlignLeft
            text: "(" + root.mapping.note + ")"
            font: Theme.monospacedCaption
            color: Theme.secondaryText
        }
    }

    // Wide enough for both titles, so that the columns do not move.
    PushButton {
        id: learning

        readonly property real narrowWidth: Math.ceil(learnTitle.advanceWidth)
            + 2 * horizontalPadding
        readonly property real wideWidth: Math.ceil(listeningTitle.advanceWidth)
            + 2 * horizontalPadding

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(wideWidth, narrowWidth + Math.max(0, root.width - root.implicitWidth))
        text: root.mapping.isListening ? listeningTitle.text : learnTitle.text
        small: true
        tint: root.mapping.isListening ? Theme.red : Theme.blue
        enabled: root.settings.midiManager.isConnected
        description: root.noteText
        onTriggered: root.settings.toggleLearning(root.mapping)

        Accessible.name: (root.mapping.isListening ? qsTr("Listening for %1") : qsTr("Learn %1"))
            .arg(root.mapping.label)

        TextMetrics {
            id: learnTitle

            font: learning.font
            text: qsTr("Learn")
        }

        TextMetrics {
            id: listeningTitle

            font: learning.font
            text: qsTr("Listening...")
        }
    }
}
