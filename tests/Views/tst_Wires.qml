import QtQuick
import QtTest
import Tessivo
import TessivoTest

// What every button, key, menu entry, drop and gesture of every window causes: pressed as a person
// presses it, over the real view models, and seen where a person would see it.
LibraryTestCase {
    id: test

    name: "Wires"
    sheet: library

    readonly property SimpleLoopState state: window ? window.loopState : null
    readonly property LoopLibraryView library: window ? window.librarySheet : null
    readonly property SavePanel panel: library ? library.savePanel as SavePanel : null
    // The window that the pointer and the keys go to.
    readonly property Window front: panel ?? library ?? window?.saveSheet ?? window?.midiSheet ?? window
    property url folder
    property int connections

    SignalSpy {
        id: refreshes

        signalName: "availableDevicesChanged"
    }

    // The one that is in front of all others of that name; "A/B": the B in A.
    function target(path: string): Item {
        return path.split("/").reduce((within, name) => within && (visibleItems(within).filter(
            item => item.Accessible.name === name && item.Accessible.role !== Accessible.NoRole)
            .pop() ?? null), front?.contentItem.parent ?? null);
    }
    function awaited(path: string): Item {
        tryVerify(() => target(path), path);
        return target(path);
    }
    // A text is something that shows, or with a ! before it, that does not.
    function holds(effect: var): bool {
        if (effect instanceof Function)
            return effect();
        if (effect.startsWith("!"))
            return !holds(effect.slice(1));
        return visibleItems(front.contentItem.parent).some(
            item => item.text === effect || item.Accessible.name === effect);
    }

    readonly property var gestures: ({
        click: path => click(awaited(path)),
        menu: path => mouseClick(awaited(path), 5, 5, Qt.RightButton),
        hover: path => mouseMove(awaited(path)),
        wheel: path => mouseWheel(awaited(path), 5, 5, 0, 120),
        focus: path => awaited(path).forceActiveFocus(Qt.TabFocusReason),
        read: path => verify(Machine.doAllActions(awaited(path)).length > 0),
        tap: path => touch(awaited(path), () => { }),
        hold: path => touch(awaited(path), () => tryVerify(() => target("Export"))),
        key: keys => {
            tryVerify(() => takesKeys(front));
            keySequence(keys);
        },
        type: text => {
            tryVerify(() => takesKeys(front));
            test.type(text);
        },
        note: note => verify(Controllers.play(Number(note))),
        sing: () => tryVerify(() => {
            Machine.playIn(0.5);
            return state.inputLevel > 0;
        }),
        see: text => tryVerify(() => holds(text)),
        unplug: () => Controllers.unplugAll(),
        remake: () => Disk.fill(["Kick"]),
        give: () => Machine.viewModels.filesGiven([SaveLocations.pathOf(Disk.linkTo(0, folder, true))]),
        drop: () => {
            verify(Machine.drag(front, Qt.point(250, 400), [Disk.linkTo(0, folder, true)]));
            verify(Machine.drop(front, Qt.point(250, 400)));
        },
        close: () => front.close()
    })
    function touch(item: Item, meanwhile: var) {
        const finger = touchEvent(item);
        finger.press(0, item, 100, 20).commit();
        meanwhile();
        finger.release(0, item, 100, 20).commit();
    }

    function openLibrary(...names) {
        Disk.fill(names);
        state.showingLoopLibrary = true;
        tryVerify(() => front === library && lists(...names));
    }
    function playIn() {
        Disk.playIn(window.viewModel);
        tryVerify(() => holds("Paused"));
    }
    function openExport() {
        openLibrary("Beat", "Vibe");
        Disk.linkTo(1, folder, true);
        SaveLocations.makeFolder(folder, "Sub");
        row("Beat").exportLoop();
        tryVerify(() => front === panel && target("link.wav"));
    }
    function openMIDI() {
        Controllers.store([60, 61, 62, 63]);
        Controllers.plugIn("keys");
        Controllers.plugIn("pads");
        window.showingMIDISettings = true;
        click(awaited("keys"));
        tryVerify(() => holds("Connected"));
        connections = Controllers.connections();
        refreshes.target = window.midiManager;
        refreshes.clear();
    }

    readonly property string folderCommand: "Open Folder of Takes"
    readonly property var closed: () => front === window
    function listed(...names): var {
        return () => front === library && lists(...names);
    }
    function hasTip(text: string): bool {
        return visibleItems(front.contentItem.parent).some(
            item => item.text === text && item.Accessible.role !== Accessible.Button);
    }
    function isMarked(device: string): bool {
        return visibleItems(target(device)).some(item => item.symbol === "checkmark.circle.fill");
    }
    function isIn(folder: url): bool {
        return holds(SaveLocations.pathOf(folder));
    }

    // By place: how one gets there, and what each gesture there causes. Of several after one another
    // the last is the one that is meant; the others lead to it.
    readonly property var places: ({
        "empty looper": [() => { }, {
            "click Record | read Record | key Return | key Enter": "Recording...",
            "click Input Monitor | read Input Monitor | focus Input Monitor, key Space": () =>
                target("Input Monitor").Accessible.checked,
            "click Library | key Ctrl+O": "Loop Library",
            "click MIDI Settings": "Note Mappings",
            "menu Library | focus Library, key Menu | focus Library, key Shift+F10": folderCommand,
            [`menu Library, click ${folderCommand}`]: () => /LooperFiles$/.test(Machine.shownFolders()),
            "hover Record": "Record [Return]",
            "hover Play": "Play [Space]",
            "hover Stop": "Stop [Space]",
            "hover Clear": "Clear [Cmd+Delete]",
            "hover Save": "Save [Ctrl+S]",
            "hover Library": "Library [Ctrl+O]",
            "hover MIDI Settings": () => hasTip("MIDI Settings"),
            "sing": () => Machine.valueOf(target("Input level"))[0] > -20,
            "give": "Import link.wav into the library?",
            "give, click Import": () => front === library && row("link") !== null
        }],
        "monitoring": [() => {
            click(target("Input Monitor"));
            tryVerify(() => state.inputMonitoringEnabled);
        }, {
            "click Input Monitor": () => !target("Input Monitor").Accessible.checked
        }],
        "recording": [() => {
            click(target("Record"));
            tryVerify(() => holds("Recording..."));
            Machine.playIn(0.1);
        }, {
            "click Record | key Return": "Playing Loop",
            "click Stop | key Space": "Paused"
        }],
        "loop": [playIn, {
            "click Play | key Space": "Playing Loop",
            "click Clear | key Ctrl+Backspace | key Ctrl+Del": "Press Record",
            "click Save | key Ctrl+S": "Save Loop"
        }],
        "playing": [() => {
            playIn();
            click(target("Play"));
            tryVerify(() => holds("Playing Loop"));
        }, {
            "click Play | key Space | click Stop | key .": "Paused"
        }],
        "controller": [() => {
            playIn();
            openMIDI();
            window.showingMIDISettings = false;
            activate(window);
        }, {
            "note 60": "Recording...",
            "note 61": "Playing Loop",
            "note 61, see Playing Loop, note 62": "Paused",
            "note 63": "Press Record"
        }],
        "save": [() => {
            Disk.clear();
            playIn();
            state.showingSaveDialog = true;
            gestures.type("riff");
        }, {
            "click Save | read Save | key Return | key Enter | key Ctrl+Return | key Ctrl+Enter": () =>
                front === window && Disk.names().join() === "riff" && !target("Save").enabled,
            "click Cancel | key Escape | key Ctrl+Escape | close": closed
        }],
        "library": [() => openLibrary("Beat", "Vibe", "Pad"), {
            "click Done | key Escape | key Ctrl+Escape | close": closed,
            "type vi | key Down, type vi": listed("Vibe"),
            "type vi, click Clear search": () => target("Search loops...").text === "",
            "key Down, key Ctrl+F": () => target("Search loops...").activeFocus,
            "click Sort, click Oldest First": listed("Pad", "Vibe", "Beat"),
            "click Sort, click Name A-Z": listed("Beat", "Pad", "Vibe"),
            "click Sort, click Name Z-A": listed("Vibe", "Pad", "Beat"),
            "click Sort, click Shortest First": listed("Pad", "Beat", "Vibe"),
            "click Sort, click Longest First": () =>
                target("Sort").Accessible.description === "Longest First" && lists("Vibe", "Beat", "Pad"),
            "click Sort, click Oldest First, click Sort, click Newest First": listed("Beat", "Vibe", "Pad"),
            "focus Sort, key Space, key Down, key Return": listed("Pad", "Vibe", "Beat"),
            "click Preview volume": () => Math.abs(viewModel.previewEngine.previewVolume - 0.5) < 0.1,
            "wheel Preview volume": () => viewModel.previewEngine.previewVolume > 0.71,
            "focus Preview volume, key Left": () => viewModel.previewEngine.previewVolume < 0.69,
            "remake, click Refresh": listed("Kick"),
            "drop": () => row("link") !== null,

            "hover Beat | tap Beat": () => offered(row("Beat")).length === 4,
            "hover Vibe, hover Delete loop": () => hasTip("Delete loop"),
            "key Down": () => chosen().join() === "Beat",
            "menu Vibe | hold Vibe | key Down, key Menu | key Down, key Shift+F10": "Export",
            "click Vibe/Load | read Vibe | menu Vibe, click Load | key Down, key Down, key Return": () =>
                front === window && String(state.fileURL).endsWith("/loop1.wav"),
            "hover Vibe, click Preview loop | menu Vibe, click Preview | key Down, key Space": () =>
                viewModel.previewEngine.isPlaying,
            "hover Beat, click Rename loop | menu Beat, click Rename | key Down, key F2": "Rename Loop",
            "hover Beat, click Export loop | menu Beat, click Export": "Save As:",
            "hover Beat, click Delete loop | menu Beat, click Delete | key Down, key Del": "Delete Loop"
        }],
        "preview": [() => {
            openLibrary("Beat", "Vibe");
            viewModel.previewLoop(row("Beat").loop);
            tryVerify(() => viewModel.previewEngine.isPlaying);
        }, {
            "hover Beat, click Stop preview | menu Beat, click Stop Preview | key Down, key Space": () =>
                !viewModel.previewEngine.isPlaying
        }],
        "renaming": [() => {
            openLibrary("Beat", "Vibe");
            viewModel.renameLoop(row("Vibe").loop);
            tryVerify(() => target("New Name:")?.activeFocus);
            gestures.type("Pad");
        }, {
            "click Rename | key Return | key Ctrl+Return | key Ctrl+Enter": listed("Beat", "Pad"),
            "click Cancel | key Escape | key Ctrl+Escape | close": "!Rename Loop"
        }],
        "deleting": [() => {
            openLibrary("Beat", "Vibe");
            viewModel.deleteLoop(row("Vibe").loop);
            tryVerify(() => target("Cancel")?.activeFocus);
        }, {
            "click Delete | key Tab, key Space": listed("Beat"),
            "click Cancel | key Return | key Escape | key Ctrl+Escape | close": "!Delete Loop"
        }],
        "library failed": [() => {
            openLibrary("Beat");
            viewModel.errorMessage = "reason";
            viewModel.showingError = true;
            tryVerify(() => target("OK")?.activeFocus);
        }, {
            "click OK | key Return | key Escape | key Ctrl+Escape | close": () => !holds("Error")
                && !viewModel.showingError && viewModel.errorMessage === ""
        }],
        "export": [openExport, {
            "click Save | key Return | key Ctrl+Return": () => front === library
                && Disk.listing(folder).includes("Beat.wav"),
            "click Cancel | key Escape | close": () => front === library,
            "click Enclosing folder": () => isIn(SaveLocations.parentOf(folder)),
            "click Home folder": () => isIn(SaveLocations.parentOf(SaveLocations.parentOf(folder))),
            "click Sub | focus Sub, key Return": () => isIn(folder + "/Sub"),
            "click link.wav": () => target("Save As:").text === "link.wav",
            "click New Folder": "Create",
            "click link.wav, click Save": "Replace File"
        }],
        "new folder": [() => {
            openExport();
            click(target("New Folder"));
            tryVerify(() => target("New Folder")?.activeFocus);
            gestures.type("new");
        }, {
            "click Create | key Return": () => isIn(folder + "/new"),
            "click Cancel | key Escape": "!Create"
        }],
        "replacing": [() => {
            openExport();
            target("Save As:").text = "link";
            click(target("Save"));
            tryVerify(() => target("Replace"));
        }, {
            "click Cancel | key Return | key Escape": "!Replace File",
            "click Replace": () => front === library && Disk.isCopyOf(folder + "/link.wav", 0)
        }],
        "MIDI": [openMIDI, {
            "click Cancel | key Escape | key Ctrl+Escape | close": closed,
            "click Refresh": () => refreshes.count === 1,
            "click pads | focus pads, key Return": () => holds("Device: pads") && isMarked("pads")
                && !isMarked("keys"),
            "click keys": () => Controllers.connections() > connections,
            "unplug": () => holds("No MIDI devices found") && holds("Disconnected")
                && !holds("Device: keys"),
            "click Learn Record": "Listening for Record",
            "click Learn Play": "Listening for Play",
            "click Learn Stop": "Listening for Stop",
            "click Learn Clear": "Listening for Clear",
            "click Reset to Defaults": "Reset MIDI Configuration"
        }],
        "learning": [() => {
            openMIDI();
            click(target("Learn Play"));
        }, {
            "click Listening for Play | click Stop Learning": () => !holds("Listening for Play")
                && !holds("Stop Learning"),
            "click Learn Stop": "!Listening for Play",
            "note 70": () => holds("A#4") && holds("(70)") && !holds("Listening...")
        }],
        "resetting": [() => {
            openMIDI();
            click(target("Reset to Defaults"));
            tryVerify(() => target("Reset"));
        }, {
            "click Cancel | key Escape": "!Reset MIDI Configuration",
            "click Reset": () => ["G#5", "C-1", "C#-1", "D-1"].every(holds),
            "click Reset, click Save | click Reset, key Ctrl+Return": () => front === window
                && [Controllers.storedNotes(), Controllers.notesInEffect()].join() === "80,0,1,2,80,0,1,2"
        }]
    })

    function init() {
        Disk.fill(["Beat"]);
        folder = Disk.emptyFolder();
        SaveLocations.folder = folder;
        Controllers.unplugAll();
        makeWindow();
        activate(window);
        Machine.shownFolders();
    }
    function cleanup() {
        Disk.finish();
    }

    function test_wire_data() {
        const rows = [];
        for (const place in places) {
            const [enter, wires] = places[place];
            for (const ways in wires)
                ways.split(" | ").forEach(way => rows.push({ tag: place + ": " + way, enter: enter,
                    steps: way.split(", "), effect: wires[ways] }));
        }
        return rows;
    }
    function test_wire(data) {
        data.enter();
        tryVerify(() => takesKeys(front));
        data.steps.forEach((step, i) => {
            if (i === data.steps.length - 1)
                verify(!holds(data.effect), "not before");
            const [, gesture, argument] = /^(\S+) ?(.*)/.exec(step);
            gestures[gesture](argument);
        });
        tryVerify(() => holds(data.effect), "no effect");
    }

    function test_a_sheet_keeps_the_window_behind_it_waiting_data() {
        return [{ tag: "save" }, { tag: "library" }, { tag: "export" }, { tag: "MIDI" }];
    }
    function test_a_sheet_keeps_the_window_behind_it_waiting(data) {
        const click = () => Machine.click(find(window.contentItem, "Input Monitor"));
        click();
        tryVerify(() => state.inputMonitoringEnabled);
        places[data.tag][0]();
        click();
        Disk.finish();
        verify(state.inputMonitoringEnabled);
    }
}
