import QtQuick
import Tessivo
import Tessivo.Style

// The state of the looper as a coloured text, and beside it, where it moves nothing, what shows
// that a command waits for the disk.
Rectangle {
    id: root

    required property SimpleLoopState loopState
    required property bool isWaitingForDisk

    readonly property bool isRecording: loopState.transportState === TransportStates.recording
    readonly property bool isPlaying: loopState.transportState === TransportStates.playing

    readonly property string statusText: {
        if (isRecording)
            return qsTr("Recording...");
        if (isPlaying)
            return qsTr("Playing Loop");
        return loopState.hasAudio ? qsTr("Paused") : qsTr("Press Record");
    }
    readonly property color statusColor: {
        if (isRecording)
            return Theme.red;
        return isPlaying ? Theme.green : Theme.primaryText;
    }
    readonly property color statusBackgroundColor: {
        if (isRecording || isPlaying)
            return Qt.alpha(statusColor, Theme.tint);
        return Qt.alpha(Theme.gray, Theme.tint);
    }

    implicitWidth: label.implicitWidth + 2 * Theme.badgeHorizontalPadding
    implicitHeight: label.implicitHeight + 2 * Theme.badgeVerticalPadding
    radius: Theme.badgeRadius
    color: statusBackgroundColor
    border.color: statusColor
    border.width: Theme.faceBorder

    Label {
        id: label

        anchors.centerIn: parent
        text: root.statusText
        font: Theme.headline
        color: root.statusColor
        // A screen reader says what appears, and not what changes.
        onTextChanged: {
            visible = false;
            visible = true;
        }

        Accessible.role: Accessible.Notification
    }

    Patience {
        id: patience

        isBusy: root.isWaitingForDisk
    }

    Spinner {
        anchors.left: parent.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        visible: patience.isOver

        Accessible.role: Accessible.ProgressBar
        Accessible.name: qsTr("Waiting for the disk...")
    }
}
