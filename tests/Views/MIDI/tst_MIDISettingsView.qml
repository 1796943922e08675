import QtQuick
import Tessivo
import Tessivo.Style
import TessivoTest

// The sheet over the real window, with the real manager and controllers made by hand.
SheetTestCase {
    id: test

    name: "MIDISettingsView"
    sheet: window ? window.midiSheet : null

    readonly property var commands: ["Record", "Play", "Stop", "Clear"]
    property MIDIManager manager: null
    property ContentView otherWindow: null
    // What the sheet has shown at each end and beginning of a flash.
    property var flashes: []

    function noteFlash() {
        flashes.push({ lit: lit(), listening: listening(), rows: rows() });
    }
    function flashed() {
        tryVerify(() => flashes.length > 1);
        return flashes.splice(0, 2);
    }

    function init() {
        makeWindow();
        manager = window.midiManager;
        Controllers.store([80, 0, 1, 2]);
        Controllers.unplugAll();
        tryVerify(() => !manager.isConnected);
    }

    function open() {
        activate(window);
        mouseClick(find(window.header, "MIDI Settings"));
        tryVerify(() => takesKeys(sheet));
        flashes = [];
        manager.lastTriggeredActionChanged.connect(noteFlash);
    }
    function cleanup() {
        manager.lastTriggeredActionChanged.disconnect(noteFlash);
    }
    // With the first device connected.
    function openWith(...devices) {
        for (const device of devices)
            Controllers.plugIn(device);
        open();
        click(item(devices[0]));
        tryVerify(() => manager.isConnected);
    }
    function learnButton(command) {
        return item("Learn " + command) ?? item("Listening for " + command);
    }
    function listening() {
        return commands.filter(command => item("Listening for " + command));
    }
    function row(command) {
        return learnButton(command).parent;
    }
    // The notes, as they can be read.
    function rows() {
        return commands.map(command => visibleItems(row(command)).filter(
            item => item.contentWidth > 0).map(item => item.text).slice(1, 3).join(" "));
    }
    function lit() {
        return commands.filter(command => Qt.colorEqual(row(command).color,
            Qt.alpha(Theme.blue, 0.2)) && row(command).Accessible.description === "Triggered");
    }

    function test_devices_are_places_in_the_list() {
        const markup = "<b>pads</b> &amp;";
        openWith("twin", "twin", markup);
        verify(shown(markup) && shows(item(markup), markup));
        const twins = () => Array.from(item(markup).parent.children).filter(
            child => child.visible && child.Accessible.name === "twin");
        compare(twins().map(twin => twin.Accessible.checked), [true, true], "by name alone");
        mouseClick(twins()[1]);
        compare(Controllers.connectedIndex(), 1);
        const before = Controllers.connections();
        mouseClick(twins()[1]);
        compare(Controllers.connections(), before + 1, "connected anew");

        // A row keeps the focus while others come and go after it.
        twins()[0].forceActiveFocus(Qt.TabFocusReason);
        Controllers.plugIn("last");
        tryVerify(() => shown("last"));
        verify(twins()[0].activeFocus);
        keyClick(Qt.Key_Return);
        compare(Controllers.connectedIndex(), 0);
    }

    function test_learning() {
        openWith("keys");
        mouseClick(learnButton("Play"));
        verify(Controllers.play(60));
        const learned = ["G#5 (80)", "C4 (60)", "C#-1 (1)", "D-1 (2)"];
        compare(flashed(), [{ lit: ["Play"], listening: ["Play"], rows: learned },
            { lit: [], listening: [], rows: learned }]);
        compare(Controllers.storedNotes(), [80, 0, 1, 2]);

        // What was learned is in effect, but only a save keeps it.
        click(item("Cancel"));
        tryCompare(test, "sheet", null);
        compare(Controllers.notesInEffect(), [80, 60, 1, 2]);
        compare(Controllers.storedNotes(), [80, 0, 1, 2]);
    }

    function test_notes_command_the_looper_while_the_sheet_is_open() {
        openWith("keys");
        Disk.clear();
        Disk.playIn(window.viewModel);
        tryCompare(window.loopState, "canPlay", true);
        Controllers.play(2);
        compare(flashed().map(flash => flash.lit), [["Clear"], []]);
        tryCompare(window.loopState, "canPlay", false);
        // The window's own keys wait.
        verify(!find(window.contentItem, "Record").parent.keysEnabled);

        // Whatever window there is has the commands, and none is no harm.
        otherWindow = createTemporaryObject(contentView, null);
        Disk.playIn(otherWindow.viewModel);
        tryCompare(otherWindow.loopState, "canPlay", true);
        Controllers.play(2);
        tryCompare(otherWindow.loopState, "canPlay", false);
        flashed();
        otherWindow.destroy();
        tryCompare(test, "otherWindow", null);
        Controllers.play(2);
        compare(flashed()[0].lit, ["Clear"]);
    }

    function test_reset_is_an_edit() {
        Controllers.store([60, 61, 62, 63]);
        openWith("keys");
        const defaults = ["G#5 (80)", "C-1 (0)", "C#-1 (1)", "D-1 (2)"];
        const ask = () => {
            click(item("Reset to Defaults"));
            tryVerify(() => shown("Reset MIDI Configuration") && item("Reset"));
        };
        const answered = () => tryVerify(() => !shown("Reset MIDI Configuration"));
        ask();
        const buttons = () => Array.from(item("Reset").parent.children).filter(
            child => child.Accessible.role === Accessible.Button);
        compare(buttons().map(button => button.text), ["Cancel", "Reset"]);
        tryVerify(() => buttons()[0].activeFocus);
        keyClick(Qt.Key_Return);
        answered();
        compare(rows(), ["C4 (60)", "C#4 (61)", "D4 (62)", "D#4 (63)"]);
        ask();
        click(item("Reset"));
        answered();
        compare(rows(), defaults);
        compare(Controllers.notesInEffect(), [60, 61, 62, 63]);

        // The mapping is written again as it was: still not another one.
        mouseClick(learnButton("Play"));
        Controllers.play(61);
        compare(flashed()[0].rows, defaults);
        mouseClick(learnButton("Play"));
        Controllers.play(70);
        compare(flashed()[0].rows, ["C4 (60)", "A#4 (70)", "D4 (62)", "D#4 (63)"],
                "the reset is lost");

        ask();
        keyClick(Qt.Key_Tab);
        keyClick(Qt.Key_Space);
        answered();
        compare(rows(), defaults);
        click(item("Cancel"));
        tryCompare(test, "sheet", null);
        compare(Controllers.storedNotes(), [60, 61, 62, 63]);
        open();
        compare(rows(), ["C4 (60)", "A#4 (70)", "D4 (62)", "D#4 (63)"], "afresh");
    }

    function test_every_way_out_ends_learning_data() {
        return [
            { tag: "Ctrl+Return", close: () => keyClick(Qt.Key_Return, Qt.ControlModifier),
                saves: true },
            { tag: "main window", close: () => window.destroy() }
        ];
    }
    function test_every_way_out_ends_learning(data) {
        openWith("keys");
        mouseClick(learnButton("Stop"));
        Controllers.play(90);
        compare(flashed()[1].listening, []);
        mouseClick(learnButton("Record"));
        keyClick(Qt.Key_Return);
        verify(manager.isLearningMode && sheet.visible, "Return alone does nothing");
        data.close();
        tryCompare(manager, "isLearningMode", false);
        compare(Controllers.storedNotes(), [80, 0, data.saves ? 90 : 1, 2]);
        if (data.tag !== "main window")
            verify(!window.showingMIDISettings && !window.showingSheet);
    }

    function test_sheets_come_one_after_the_other() {
        open();
        compare([sheet.minimumWidth, sheet.maximumWidth, sheet.minimumHeight, sheet.maximumHeight],
            [300, 400, 600, 800]);
        window.loopState.showingSaveDialog = true;
        tryCompare(test, "sheet", null);
        verify(window.saveSheet.visible);
        window.loopState.showingSaveDialog = false;
        tryVerify(() => sheet && sheet.visible && !window.saveSheet);
    }

    function test_the_keyboard_reaches_everything_and_brings_it_into_sight() {
        const many = Array.from({ length: 40 }, (_, i) => "controller " + i);
        const endless = "x".repeat(500);
        openWith("keys", endless, ...many);
        Machine.doAllActions(learnButton("Record"));
        const stops = ["Cancel", "Save", "Refresh", "keys", endless, ...many, "Stop Learning",
            "Listening for Record", "Learn Play", "Learn Stop", "Learn Clear",
            "Reset to Defaults", "Cancel"];
        const area = item("Refresh").parent.parent.parent.parent.parent.parent.parent.parent;
        for (const name of stops) {
            keyClick(Qt.Key_Tab);
            const stop = item(name);
            verify(stop.activeFocus, name);
            verify(stop.width > 0 && stop.width <= 302, name);
            const y = stop.mapToItem(null, 0, 0).y;
            verify(y >= 0 && y + stop.height <= sheet.height, name + " at " + y);
            if (name === endless)
                tryVerify(() => shows(sheet.contentItem.parent, endless), "in full");
        }
        item("Learn Play").forceActiveFocus(Qt.BacktabFocusReason);
        keyClick(Qt.Key_Space);
        compare(listening(), ["Play"]);
        const top = item("Connected").mapToItem(null, 0, 0).y;
        verify(top < 0);
        keyClick(Qt.Key_Home);
        tryVerify(() => item("Connected").mapToItem(null, 0, 0).y > 0);
        keyClick(Qt.Key_PageDown);
        compare(area.contentY, area.height - 40, "the last line stays in sight");
    }
}
