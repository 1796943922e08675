import QtQuick
import Tessivo
import TessivoTest

// The sheet over the real window, with the real controller, library and disk.
SheetTestCase {
    id: test

    name: "SaveLoopView"
    sheet: window ? window.saveSheet : null

    function init() {
        Disk.clear();
        makeWindow();
        Disk.playIn(window.viewModel);
        tryVerify(() => window.loopState.canSave);
    }
    function cleanup() {
        Disk.finish();
    }

    function open() {
        activate(window);
        keyClick(Qt.Key_S, Qt.ControlModifier);
        tryVerify(() => takesKeys(sheet));
    }
    function field() {
        return item("Loop Name:");
    }
    function test_typing_replaces_the_proposal_and_return_saves_the_trimmed_name() {
        open();
        verify(/^Loop \S+ \d\d, \d\d:\d\d$/.test(field().text), field().text);
        verify(item("Save").enabled && !shown("Saving..."));
        tryVerify(() => item("Duration: 01:15"));
        verify(item("Size: 1.2 MB"));
        type("  my riff ");
        compare(field().text, "  my riff ");
        keyClick(Qt.Key_Return);
        tryCompare(test, "sheet", null);
        tryVerify(() => Disk.names().length === 1);
        compare(Disk.names(), ["my riff"]);
        tryVerify(() => !window.loopState.canSave);
        compare(window.loopState.transportState, TransportStates.stopped);
    }

    function test_blank_names_are_not_saved() {
        open();
        for (const blank of ["", "   ", "\u00a0\u2003\t"]) {
            field().text = blank;
            verify(!item("Save").enabled);
            keyClick(Qt.Key_Return);
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            mouseClick(item("Save"));
            verify(!sheet.isSaving && !shown("Error"));
        }
        sheet.saveLoop();
        tryVerify(() => alertSays("Please enter a loop name"));
        keyClick(Qt.Key_Escape);
        tryVerify(() => !shown("Error"));
        verify(sheet.visible && !sheet.isSaving);
        tryVerify(() => field().activeFocus);
    }

    function test_failed_save_keeps_the_name_and_can_be_repeated() {
        Disk.removeLoop();
        open();
        Disk.finish();
        verify(item("Duration: 00:00") && item("Size: Zero KB"));
        type("again");
        keyClick(Qt.Key_Tab);
        verify(item("Cancel").activeFocus);
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        tryVerify(() => shown("Error") && alertSays(item("Error").Accessible.description));
        const reason = /^The attributes of the file could not be read: "take.wav": ./;
        verify(reason.test(item("Error").Accessible.description));
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        verify(!sheet.isSaving, "the alert comes first");
        keyClick(Qt.Key_Return);
        tryVerify(() => !shown("Error"));
        compare(field().text, "again");
        Disk.writeLoop();
        mouseClick(item("Save"));
        tryCompare(test, "sheet", null);
        tryVerify(() => Disk.names().length === 1);
        compare(Disk.names(), ["again"]);
    }

    function test_a_closed_sheet_leaves_its_save_alone_and_is_left_alone() {
        Disk.holdSaves();
        open();
        type("slow");
        keyClick(Qt.Key_Return);
        verify(sheet.isSaving && shown("Saving..."));
        verify(!item("Save").enabled);
        keyClick(Qt.Key_Return);
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        mouseClick(item("Cancel"));
        tryCompare(test, "sheet", null);
        verify(!window.loopState.showingSaveDialog);
        tryVerify(() => !window.loopState.canSave);
        Disk.forget(window.viewModel);
        open();
        compare(field().text.slice(0, 5), "Loop ");
        type("other");
        Disk.finish();
        tryVerify(() => Disk.names().length > 0);
        compare(Disk.names(), ["slow"]);
        verify(sheet.visible && !sheet.isSaving && !shown("Saving..."));
        compare(field().text, "other");
        verify(!shown("Error"));
    }

    function test_a_failure_behind_the_closed_sheet_becomes_a_notice() {
        Disk.removeLoop();
        open();
        Disk.hold();
        keyClick(Qt.Key_Return);
        verify(sheet.isSaving);
        keyClick(Qt.Key_Escape, Qt.ControlModifier);
        tryCompare(test, "sheet", null);
        wait(0);
        Disk.finish();
        compare(window.viewModel.notices.text, "The loop was not saved. Save it again.");
        verify(window.viewModel.notices.detail !== "");
    }

    function test_layout_holds_for_every_name() {
        open();
        const height = sheet.height;
        for (const name of ["W".repeat(10000), "\u05e9\u05dc\u05d5\u05dd ".repeat(50)]) {
            field().text = name;
            waitForRendering(field());
            compare([sheet.width, sheet.height, field().width], [400, height, 352]);
        }
        for (const next of ["Cancel", "Save", "Loop Name:"]) {
            keyClick(Qt.Key_Tab);
            verify(item(next).activeFocus, next);
        }
    }
}
