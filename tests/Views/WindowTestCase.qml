import QtQuick
import Tessivo
import Tessivo.Style
import TessivoTest

// Every window and sheet in each of its states, over the real window, controller, library, disk and
// manager of controllers.
SheetTestCase {
    id: root

    // Each opens a window in a state and returns what tells the window.
    readonly property var states: ({
        "main": () => opened(),
        "main-focus": () => {
            for (let i = 0; i < 3; ++i)
                keyClick(Qt.Key_Tab);
            return opened();
        },
        "main-pressed": () => {
            mousePress(part("Record"));
            return opened();
        },
        "main-tip": () => {
            mouseMove(part("Stop"));
            tryVerify(() => shows(window.contentItem.parent, "Stop [Space]"), 3000);
            return opened();
        },
        "main-menu": () => {
            mouseClick(find(window.header, "Library"), 5, 5, Qt.RightButton);
            return opened();
        },
        "main-notice": () => {
            Machine.plugMicrophone(false);
            tryVerify(() => window.viewModel.notices.text !== "");
            return opened();
        },
        "main-controller": () => {
            Controllers.plugIn("Keys");
            tryVerify(() => window.viewModel.notices.button !== "");
            return opened();
        },
        "main-recording": () => {
            mouseClick(part("Record"));
            hear(0.1);
            return opened();
        },
        "main-paused": () => {
            Disk.playIn(window.viewModel);
            mouseClick(part("Input Monitor"));
            tryVerify(() => window.loopState.inputMonitoringEnabled);
            hear(0.75);
            const meter = part("Input level");
            return () => {
                meter.showPeak();
                return window;
            };
        },
        "main-playing": () => {
            Disk.playIn(window.viewModel);
            mouseClick(part("Play"));
            tryVerify(() => window.viewModel.time.text === "00:00 / 01:15");
            return opened();
        },
        "main-waiting": () => {
            Disk.playIn(window.viewModel);
            Disk.hold();
            mouseClick(part("Play"));
            tryVerify(() => part("Waiting for the disk...").visible);
            return opened();
        },
        "save": () => openSave("riff"),
        "save-empty": () => openSave(""),
        "save-running": () => {
            Disk.holdSaves();
            openSave("riff");
            window.saveSheet.saveLoop();
            return () => window.saveSheet;
        },
        "save-alert": () => {
            const sheet = openSave("");
            sheet().saveLoop();
            return sheet;
        },
        "library": () => openLibrary("Beat", "<b>Pad</b> &amp;\nC", "\u05e9\u05dc\u05d5\u05dd ".repeat(9),
            "\u0928\u092e\u0938\u094d\u0924\u0947 \u0930\u093f\u092b\u093c", "W".repeat(60)),
        "library-empty": () => openLibrary(),
        "library-loading": () => {
            Disk.hold();
            window.loopState.showingLoopLibrary = true;
            return () => window.librarySheet;
        },
        "library-none-found": () => {
            const library = openLibrary("Beat", "Vibe");
            library().viewModel.searchText = "x";
            return library;
        },
        "library-hover": () => {
            const library = openLibrary("Beat", "Vibe");
            mouseMove(rows()[1], 100, 20);
            return library;
        },
        "library-current": () => {
            const library = openLibrary("Beat", "Vibe");
            activate(library());
            keyClick(Qt.Key_Down);
            library().viewModel.previewLoop(rows()[0].loop);
            return library;
        },
        "library-sort": () => {
            const library = openLibrary("Beat");
            mouseClick(part("Sort", library()));
            return library;
        },
        "library-menu": () => {
            const library = openLibrary("Beat", "Vibe");
            mouseClick(rows()[0], 100, 20, Qt.RightButton);
            return library;
        },
        "library-rename": () => openFromRow("rename"),
        "library-rename-empty": () => {
            const library = openFromRow("rename");
            library().viewModel.newLoopName = "";
            return library;
        },
        "library-delete": () => openFromRow("deleteLoop"),
        "library-error": () => {
            const library = openFromRow("deleteLoop");
            Disk.removeFileOf(0);
            mouseClick(part("Delete", library()));
            tryVerify(() => library().viewModel.showingError);
            return library;
        },
        "library-drop": () => openDrop(),
        "library-import": () => {
            const library = openDrop();
            Disk.hold();
            Machine.drop(library(), dropPlace);
            tryVerify(() => shown("Importing link.wav", library()));
            return library;
        },
        "library-import-failed": () => {
            const library = openLibrary("Beat");
            library().loopImport.importFiles(["http://host/a.wav"]);
            tryVerify(() => library().loopImport.report !== "");
            return library;
        },
        "export": () => openExport(),
        "export-new-folder": () => {
            const panel = openExport();
            mouseClick(part("New Folder", panel()));
            return panel;
        },
        "export-replace": () => {
            const panel = openExport();
            part("Save As:", panel()).text = "link";
            mouseClick(part("Save", panel()));
            return panel;
        },
        "midi": () => openMIDI(),
        "midi-found": () => {
            const midi = openMIDI();
            Controllers.plugIn("Keys");
            tryVerify(() => shown("Keys", midi()));
            return midi;
        },
        "midi-devices": () => openMIDI("Keys", "\u0928\u092e\u0938\u094d\u0924\u0947", "Pads"),
        "midi-learning": () => {
            const midi = openMIDI("Keys");
            Machine.doAllActions(part("Learn Play", midi()));
            return midi;
        },
        "midi-flash": () => {
            const midi = openMIDI("Keys");
            return () => {
                Controllers.play(2);
                return midi();
            };
        },
        "midi-reset": () => {
            const midi = openMIDI();
            midi().showingResetConfirmation = true;
            return midi;
        }
    })

    readonly property point dropPlace: Qt.point(250, 400)

    function part(name: string, within = window): Item {
        return find(within.contentItem.parent, name);
    }
    function opened(): var {
        return () => window;
    }
    // Until it shows.
    function hear(level: real) {
        tryVerify(() => {
            Machine.playIn(level);
            return window.loopState.inputLevel > 0;
        });
    }
    function openSave(name: string): var {
        Disk.playIn(window.viewModel);
        window.loopState.showingSaveDialog = true;
        tryVerify(() => shows(window.saveSheet.contentItem, "01:15"));
        window.saveSheet.activeFocusItem.text = name;
        return () => window.saveSheet;
    }
    function openLibrary(...names): var {
        Disk.fill(names);
        window.loopState.showingLoopLibrary = true;
        tryVerify(() => rows().length === names.length && !window.librarySheet.viewModel.isLoading);
        return () => window.librarySheet;
    }
    function openFromRow(command: string): var {
        const library = openLibrary("Beat");
        rows()[0][command]();
        return library;
    }
    function openDrop(): var {
        const library = openLibrary("Beat");
        Machine.drag(library(), dropPlace, [Disk.linkTo(0, Disk.emptyFolder(), true)]);
        return library;
    }
    function openExport(): var {
        Disk.fill(["Beat"]);
        SaveLocations.folder = Disk.emptyFolder();
        SaveLocations.makeFolder(SaveLocations.folder, "Takes");
        Disk.linkTo(0, SaveLocations.folder, true);
        openFromRow("exportLoop");
        const panel = window.librarySheet.savePanel;
        // Every machine has another one.
        part(SaveLocations.folder.toString().replace("file://", ""), panel).text = "/home/ada/Exports";
        return () => panel;
    }
    function openMIDI(...devices): var {
        Controllers.unplugAll();
        devices.forEach(device => Controllers.plugIn(device));
        window.showingMIDISettings = true;
        const midi = () => window.midiSheet;
        if (devices.length > 0) {
            tryVerify(() => shown(devices[0], midi()));
            Machine.doAllActions(part(devices[0], midi()));
            tryVerify(() => window.midiManager.isConnected);
        }
        return midi;
    }
    function rows(): var {
        return visibleItems(window.librarySheet.contentItem).filter(
            item => item.Accessible.role === Accessible.ListItem);
    }
    function visibleItems(item) {
        return !item.visible || item.opacity === 0 ? []
            : [item].concat(...Array.from(item.children).map(visibleItems));
    }
    // Leaves the window in that state, active, and returns what tells it.
    function open(state: string): var {
        makeWindow();
        activate(window);
        const shown = states[state]();
        tryVerify(() => shown() && shown().visible);
        activate(shown());
        return shown;
    }
    function cleanup() {
        Controllers.unplugAll();
        Disk.finish();
        Machine.setMirrored(false);
        for (const key of ["color-scheme", "contrast", "reduced-motion"])
            Machine.setAppearance(key, 0);
    }
}
