pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import QtQuick.Templates as T

// The main window. It owns the controller for its whole life, and every button, key and switch
// in it ends in one of the controller's operations.
T.ApplicationWindow {
    id: root

    readonly property SimpleLooperViewModel viewModel: SimpleLooperViewModel { }
    readonly property MIDIManager midiManager: SharedMIDI.manager
    readonly property SimpleLoopState loopState: viewModel.loopState
    readonly property bool showingSaveDialog: loopState.showingSaveDialog
    property bool showingMIDISettings: false
    readonly property bool showingSheet: showingSaveDialog || loopState.showingLoopLibrary
        || showingMIDISettings
    // The others are asked for a moment before they show: the sheets come one after the other.
    readonly property bool presentingMIDISettings: showingMIDISettings && !showingSaveDialog
        && !loopState.showingLoopLibrary

    readonly property SaveLoopView saveSheet: savePresenter.sheet as SaveLoopView
    readonly property LoopLibraryView librarySheet: libraryPresenter.sheet as LoopLibraryView
    readonly property MIDISettingsView midiSheet: midiPresenter.sheet as MIDISettingsView

    visible: true
    title: Application.displayName
    color: Theme.controlBackground

    // Large system fonts may need more than the usual frame; nothing is ever cut off. The frame
    // is that of the content, and the toolbar comes on top of it.
    readonly property int neededHeight: Math.ceil(stack.implicitHeight + 2 * Theme.contentSpacing
        + productName.implicitHeight + 2 * Theme.contentMargin)
    minimumWidth: Math.ceil(stack.implicitWidth + 2 * Theme.contentMargin)
    minimumHeight: neededHeight + toolbar.height
    maximumWidth: Math.max(minimumWidth, 400)
    maximumHeight: Math.max(neededHeight, 500) + toolbar.height
    width: maximumWidth
    height: maximumHeight

    header: ToolbarView {
        id: toolbar

        loopState: root.loopState
        keysEnabled: !root.showingSheet
        onSave: root.viewModel.showSaveDialog()
        onShowLibrary: root.viewModel.showLoopLibrary()
        onShowMIDISettings: root.showingMIDISettings = true
    }

    onVisibleChanged: if (visible) SharedMIDI.setupCallbacks(viewModel)

    SheetPresenter {
        id: savePresenter

        window: root
        presents: root.showingSaveDialog

        // The loop may become another one while the sheet is open.
        given: ({ currentFileURL: root.loopState.fileURL })

        SaveLoopView {
            viewModel: root.viewModel
        }
    }

    SheetPresenter {
        id: libraryPresenter

        window: root
        presents: root.loopState.showingLoopLibrary

        LoopLibraryView {
            onLoadLoop: loop => LoopLoader.load(root.viewModel, loop)
            onDismissed: root.loopState.showingLoopLibrary = false
        }
    }

    SheetPresenter {
        id: midiPresenter

        window: root
        presents: root.presentingMIDISettings

        MIDISettingsView {
            midiManager: root.midiManager
            onDismissed: root.showingMIDISettings = false
        }
    }

    Column {
        id: stack

        anchors.top: parent.top
        anchors.topMargin: Theme.contentMargin
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.contentSpacing

        StatusView {
            anchors.horizontalCenter: parent.horizontalCenter
            loopState: root.loopState
        }

        LevelMeterView {
            anchors.horizontalCenter: parent.horizontalCenter
            level: root.loopState.inputLevel
            meterHeight: 20
            meterWidth: 300
            segmentCount: 20
        }

        TransportControlsView {
            anchors.horizontalCenter: parent.horizontalCenter
            loopState: root.loopState
            buttonSize: 60
            keysEnabled: !root.showingSheet
            onRecord: root.viewModel.recordButtonPressed()
            onPlay: root.viewModel.playButtonPressed()
            onStop: root.viewModel.stopButtonPressed()
            onClear: root.viewModel.clearButtonPressed()
        }

        InputMonitoringToggleView {
            anchors.horizontalCenter: parent.horizontalCenter
            isMonitoringEnabled: root.loopState.inputMonitoringEnabled
            onToggleMonitoring: root.viewModel.toggleInputMonitoring()
        }
    }

    Text {
        id: productName

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.contentMargin
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Tessivo"
        font: Theme.productName
        color: Theme.primaryText

        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    // A click anywhere takes the focus that the Tab key gave: whoever works with the pointer has
    // the transport keys. The click itself goes on to what is below.
    MouseArea {
        id: resting

        parent: root.contentItem.parent
        anchors.fill: parent
        z: 2 // above the toolbar, which is above the content
        acceptedButtons: Qt.AllButtons
        onPressed: mouse => {
            mouse.accepted = false;
            resting.forceActiveFocus(Qt.MouseFocusReason);
        }
    }
}
