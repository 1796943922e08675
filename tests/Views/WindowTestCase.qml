import QtQuick
import Tessivo
import Tessivo.Style
import TessivoTest

// Every window and sheet in each of its states, over the real window, controller, library, disk and
// manager of controllers.
SheetTestCase {
    id: root

    // Each opens a window in a state and returns what tells it.
    readonly property var states: ({
        "main": () => opened(),
        "main-focus": () => opened(() => [1, 2, 3].forEach(() => keyClick(Qt.Key_Tab))),
        "main-pressed": () => opened(() => mousePress(part("Record"))),
        "main-tip": () => opened(() => {
            mouseMove(part("Stop"));
            tryVerify(() => shows(window.contentItem.parent, "Stop [Space]"));
        }),
        "main-menu": () => opened(() => mouseClick(part("Library"), 5, 5, Qt.RightButton)),
        "main-notice": () => opened(() => {
            Machine.plugMicrophone(false);
            tryVerify(() => window.viewModel.notices.text !== "");
        }),
        "main-controller": () => opened(() => {
            Controllers.plugIn("A Keyboard with a Name of Some Length");
            tryVerify(() => window.viewModel.notices.button !== "");
        }),
        "main-recording": () => hearing(0.1, () => mouseClick(part("Record"))),
        "main-paused": () => {
            Disk.playIn(window.viewModel);
            const hears = hearing(0.75, () => mouseClick(part("Input Monitor")));
            const meter = part("Input level");
            return () => {
                meter.showPeak();
                return hears();
            };
        },
        "main-playing": () => hearing(0.001, () => {
            Disk.playIn(window.viewModel);
            mouseClick(part("Play"));
            tryVerify(() => window.viewModel.time.text === "00:00 / 01:15");
        }),
        "main-waiting": () => opened(() => {
            Disk.playIn(window.viewModel);
            Disk.hold();
            mouseClick(part("Play"));
            tryVerify(() => part("Waiting for the disk...").visible);
        }),
        "save": () => openSave("riff"),
        "save-empty": () => openSave(""),
        "save-running": () => {
            Disk.holdSaves();
            return openSave("riff", sheet => sheet.saveLoop());
        },
        "save-alert": () => openSave("", sheet => sheet.saveLoop()),
        "library": () => openLibrary(["Beat", "<b>Pad</b> &amp;\nC", "\u05e9\u05dc\u05d5\u05dd ".repeat(9),
            "\u0928\u092e\u0938\u094d\u0924\u0947 \u0930\u093f\u092b\u093c", "W".repeat(60), ..."abcdefgh"]),
        "library-empty": () => openLibrary([]),
        "library-loading": () => {
            Disk.hold();
            window.loopState.showingLoopLibrary = true;
            return () => window.librarySheet;
        },
        "library-none-found": () => openLibrary(two, sheet => sheet.viewModel.searchText = "x"),
        "library-hover": () => openLibrary(two, () => mouseMove(rows()[1], 100, 20)),
        "library-current": () => openLibrary(two, sheet => {
            activate(sheet);
            keyClick(Qt.Key_Down);
            sheet.viewModel.previewLoop(rows()[0].loop);
        }),
        "library-sort": () => openLibrary(one, sheet => mouseClick(part("Sort", sheet))),
        "library-menu": () => openLibrary(two, () => mouseClick(rows()[0], 100, 20, Qt.RightButton)),
        "library-rename": () => openLibrary(one, () => rows()[0].rename()),
        "library-rename-empty": () => openLibrary(one, sheet => {
            rows()[0].rename();
            sheet.viewModel.newLoopName = "";
        }),
        "library-delete": () => openLibrary(one, () => rows()[0].deleteLoop()),
        "library-error": () => openLibrary(one, sheet => {
            sheet.viewModel.errorMessage = "It is\nso.";
            sheet.viewModel.showingError = true;
        }),
        "library-drop": () => openLibrary(one, dragFile),
        "library-import": () => openLibrary(one, sheet => {
            dragFile(sheet);
            Disk.hold();
            Machine.drop(sheet, dropPlace);
            tryVerify(() => shown("Importing link.wav", sheet));
        }),
        "library-import-failed": () => openLibrary(one, sheet => {
            sheet.loopImport.importFiles(["http://host/a.wav"]);
            tryVerify(() => sheet.loopImport.report !== "");
        }),
        "export": () => openExport(),
        "export-new-folder": () => openExport(panel => mouseClick(part("New Folder", panel))),
        "export-replace": () => openExport(panel => {
            part("Save As:", panel).text = "link";
            mouseClick(part("Save", panel));
        }),
        "midi": () => openMIDI([]),
        "midi-found": () => openMIDI([], sheet => {
            Controllers.plugIn("Keys");
            tryVerify(() => shown("Keys", sheet));
        }),
        "midi-devices": () => openMIDI(["Keys", "\u0928\u092e\u0938\u094d\u0924\u0947", "Pads"]),
        "midi-learning": () => openMIDI(["Keys"],
            sheet => Machine.doAllActions(part("Learn Play", sheet))),
        "midi-flash": () => {
            const midi = openMIDI(["Keys"]);
            return () => {
                Controllers.play(2);
                return midi();
            };
        },
        "midi-reset": () => openMIDI([], sheet => sheet.showingResetConfirmation = true)
    })

    readonly property var one: ["Beat"]
    readonly property var two: ["Beat", "Vibe"]
    readonly property point dropPlace: Qt.point(250, 400)

    function part(name: string, within = window): Item {
        return find(within.contentItem.parent, name);
    }
    // The following open a window, do something there, and return what tells the window.
    function opened(act = () => { }): var {
        act();
        return () => window;
    }
    // The device goes on, but by next to nothing: one that stands still would be told.
    function hearing(level: real, act: var): var {
        act();
        tryVerify(() => {
            Machine.playIn(level);
            return window.loopState.inputLevel > 0;
        });
        return () => {
            Machine.playIn(level, 1);
            return window;
        };
    }
    function openSave(name: string, act = () => { }): var {
        Disk.playIn(window.viewModel);
        window.loopState.showingSaveDialog = true;
        tryVerify(() => shows(window.saveSheet.contentItem, "01:15"));
        window.saveSheet.activeFocusItem.text = name;
        act(window.saveSheet);
        return () => window.saveSheet;
    }
    function openLibrary(names: var, act = () => { }): var {
        Disk.fill(names);
        window.loopState.showingLoopLibrary = true;
        tryVerify(() => rows().length === names.length && !window.librarySheet.viewModel.isLoading);
        act(window.librarySheet);
        return () => window.librarySheet;
    }
    function dragFile(sheet: Window) {
        Machine.drag(sheet, dropPlace, [Disk.linkTo(0, Disk.emptyFolder(), true)]);
    }
    function openExport(act = () => { }): var {
        SaveLocations.folder = Disk.emptyFolder();
        openLibrary(one, () => {
            SaveLocations.makeFolder(SaveLocations.folder, "Takes");
            Disk.linkTo(0, SaveLocations.folder, true);
            rows()[0].exportLoop();
        });
        const panel = window.librarySheet.savePanel;
        tryVerify(() => part("Takes", panel) && part("link.wav", panel));
        // Every machine has another one.
        part(SaveLocations.folder.toString().replace("file://", ""), panel).text = "/home/ada/Exports";
        act(panel);
        return () => panel;
    }
    function openMIDI(devices: var, act = () => { }): var {
        Controllers.unplugAll();
        devices.forEach(device => Controllers.plugIn(device));
        window.showingMIDISettings = true;
        const sheet = window.midiSheet;
        if (devices.length > 0) {
            tryVerify(() => shown(devices[0], sheet));
            Machine.doAllActions(part(devices[0], sheet));
            tryVerify(() => window.midiManager.isConnected);
        }
        act(sheet);
        return () => sheet;
    }
    function rows(): var {
        return visibleItems(window.librarySheet.contentItem).filter(
            item => item.Accessible.role === Accessible.ListItem);
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
