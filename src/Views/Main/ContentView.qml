pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Tessivo
import Tessivo.Style

// The main window. It has one view model of the looper for its whole life; every button, key and
// switch of the looper calls one of that model's operations.
T.ApplicationWindow {
    id: root

    // Makes the view models, on devices that this window knows nothing of.
    required property ViewModelFactory viewModels

    // In an arrow function, which is interpreted: the QML compiler of Qt 6.4 loses the type of an
    // object that a C++ method returns. The same below.
    readonly property SimpleLooperViewModel viewModel: (() => viewModels.makeLooper(root))()
    readonly property MIDIManager midiManager: viewModels.midiManager
    readonly property SimpleLoopState loopState: viewModel.loopState
    readonly property bool showingSaveDialog: loopState.showingSaveDialog
    property bool showingMIDISettings: false
    readonly property bool showingSheet: showingSaveDialog || loopState.showingLoopLibrary
        || showingMIDISettings
    // One sheet at a time: the MIDI settings wait until the others are closed.
    readonly property bool presentingMIDISettings: showingMIDISettings && !showingSaveDialog
        && !loopState.showingLoopLibrary

    readonly property SaveLoopView saveSheet: savePresenter.sheet as SaveLoopView
    readonly property LoopLibraryView librarySheet: libraryPresenter.sheet as LoopLibraryView
    readonly property MIDISettingsView midiSheet: midiPresenter.sheet as MIDISettingsView

    visible: true
    title: Application.displayName
    color: Theme.controlBackground

    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    // Larger than usual when large system fonts need it, so that nothing is cut off. The size is that
    // of the content; the toolbar adds its height.
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
        onShowFolderOfTakes: root.viewModel.showFolderOfTakes()
        onShowMIDISettings: root.showingMIDISettings = true
    }

    onVisibleChanged: if (visible) viewModel.setupMIDICallbacks(midiManager)

    SheetPresenter {
        id: savePresenter

        window: root
        presents: root.showingSaveDialog

        // Not a binding: while the sheet is open, the current loop may change.
        initialProperties: ({ currentFileURL: root.loopState.fileURL })

        SaveLoopView {
            viewModel: root.viewModel
        }
    }

    SheetPresenter {
        id: libraryPresenter

        window: root
        presents: root.loopState.showingLoopLibrary

        LoopLibraryView {
            id: library

            viewModel: (() => root.viewModels.makeLibrary(library))()
            loopImport: root.viewModel.loopImport
            onLoadLoop: loop => root.viewModel.loadLoop(loop)
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
            isWaitingForDisk: root.viewModel.isWaitingForDisk
        }

        LevelMeterView {
            id: meter

            anchors.horizontalCenter: parent.horizontalCenter
            level: root.loopState.inputLevel
            meterHeight: Theme.meterHeight
            meterWidth: Theme.meterWidth
            segmentCount: 20
            devices: root.viewModel.devices
            Component.onCompleted: root.viewModel.inputPeaked.connect(meter.showPeak)
        }

        TransportControlsView {
            anchors.horizontalCenter: parent.horizontalCenter
            loopState: root.loopState
            buttonSize: Theme.transportButtonSize
            keysEnabled: !root.showingSheet
            isWaitingForDisk: root.viewModel.isWaitingForDisk
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

    // In the space that nothing else has.
    TimeView {
        anchors.top: stack.bottom
        anchors.bottom: productName.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.timeMargin
        visible: !notice.visible && root.loopState.transportState !== TransportStates.stopped
        time: root.viewModel.time
    }

    NoticeView {
        id: notice

        anchors.top: stack.bottom
        anchors.bottom: productName.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.standardPadding
        notices: root.viewModel.notices
    }

    Connections {
        target: root.viewModel.notices

        function onMidiSettingsRequested() {
            root.showingMIDISettings = true;
        }
    }

    Connections {
        target: root.viewModels

        function onFilesGiven(paths) {
            root.viewModel.loopImport.offer(paths);
        }
    }

    Label {
        id: productName

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.contentMargin
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Tessivo"
        font: Theme.productName
    }

    // A click anywhere takes the focus away from the button that the Tab key gave it to, so that
    // Space and Return are transport keys again. The click itself goes on to the item below.
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
