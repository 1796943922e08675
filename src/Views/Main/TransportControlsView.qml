import QtQuick
import Tessivo
import Tessivo.Style

// The four transport commands. Their availability, colours and keys depend on the loop state alone,
// but for the keys while an earlier command waits for the disk: they count in their turn.
Row {
    id: root

    required property SimpleLoopState loopState
    required property real buttonSize
    // False while a sheet in front of the window has the keyboard focus.
    required property bool keysEnabled
    property bool isWaitingForDisk: false

    signal record()
    signal play()
    signal stop()
    signal clear()

    readonly property bool isRecording: loopState.transportState === TransportStates.recording
    readonly property bool isPlaying: loopState.transportState === TransportStates.playing
    readonly property bool recordButtonEnabled: isRecording
        || loopState.transportState === TransportStates.stopped
    readonly property bool playButtonEnabled: loopState.canPlay || isPlaying
    readonly property color recordButtonColor: faceColor(recordButtonEnabled, Theme.red, isRecording)
    readonly property color playButtonColor: faceColor(playButtonEnabled, Theme.green, isPlaying)

    function faceColor(available: bool, base: color, active: bool): color {
        if (!available)
            return Theme.gray;
        return active ? Qt.alpha(base, Theme.activeOpacity) : base;
    }

    spacing: Theme.buttonSpacing

    TransportButton {
        name: qsTr("Record")
        symbol: "circle.fill"
        toolTip: qsTr("Record [Return]")
        color: root.recordButtonColor
        size: root.buttonSize
        available: root.recordButtonEnabled
        keys: ["Return", "Enter"]
        keysEnabled: root.keysEnabled
        mayBecomeAvailable: root.isWaitingForDisk
        onTriggered: root.record()
    }

    // While recording, Space stops. Play is disabled then, but has another key, so that no key ever
    // belongs to two buttons.
    TransportButton {
        name: qsTr("Play")
        symbol: "play.fill"
        toolTip: qsTr("Play [Space]")
        color: root.playButtonColor
        size: root.buttonSize
        available: root.playButtonEnabled
        keys: root.isRecording ? ["P"] : ["Space"]
        keysEnabled: root.keysEnabled
        mayBecomeAvailable: root.isWaitingForDisk
        onTriggered: root.play()
    }

    TransportButton {
        name: qsTr("Stop")
        symbol: "stop.fill"
        toolTip: qsTr("Stop [Space]")
        color: root.faceColor(root.loopState.canStop, Theme.yellow, false)
        size: root.buttonSize
        available: root.loopState.canStop
        keys: root.isRecording ? ["Space"] : ["."]
        keysEnabled: root.keysEnabled
        mayBecomeAvailable: root.isWaitingForDisk
        onTriggered: root.stop()
    }

    TransportButton {
        name: qsTr("Clear")
        symbol: "xmark"
        toolTip: qsTr("Clear [Cmd+Delete]")
        color: root.faceColor(root.loopState.canClear, Theme.orange, false)
        size: root.buttonSize
        available: root.loopState.canClear
        keys: ["Ctrl+Backspace", "Ctrl+Delete"]
        keysEnabled: root.keysEnabled
        mayBecomeAvailable: root.isWaitingForDisk
        onTriggered: root.clear()
    }
}
