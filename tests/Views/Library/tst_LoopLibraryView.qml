import QtQuick
import Tessivo
import TessivoTest

// The sheet over the real window, with the real model, library and disk.
LibraryTestCase {
    id: test

    name: "LoopLibraryView"

    function test_each_showing_reads_the_library_afresh() {
        Disk.clear();
        open();
        verify(item("Search loops...").activeFocus);
        viewModel.refreshLibrary();
        verify(shown("Loading loops...") && !shown("No Saved Loops"), "at once");
        tryVerify(() => shown("No Saved Loops") && !shown("Loading loops..."));
        const before = viewModel;
        keyClick(Qt.Key_Escape);
        tryCompare(window, "librarySheet", null);
        Disk.fill(["Beat"]);
        window.loopState.showingLoopLibrary = true;
        verify(viewModel !== before);
        tryVerify(() => lists("Beat"));
    }

    function test_search_and_order() {
        Disk.fill(["Beat", "Vibe", "Pad"]);
        open();
        const summary = "3 loops • 48 KB";
        verify(shown(summary));
        type("BE");
        tryVerify(() => lists("Beat", "Vibe"));
        type("x");
        tryVerify(() => lists());
        verify(list.visible && shown(summary) && !shown("No Saved Loops"));
        click(item("Clear search"));
        verify(!shown("Clear search") && item("Search loops...").activeFocus);
        tryVerify(() => lists("Beat", "Vibe", "Pad"));
        item("Sort").picked(3);
        tryVerify(() => lists("Vibe", "Pad", "Beat"));

        // Another program has changed the library meanwhile.
        list.begin();
        Disk.fill(["Beat", "Vibe", "Drum", "Kick"]);
        click(item("Refresh"));
        tryVerify(() => !viewModel.isLoading && lists("Vibe", "Kick", "Drum", "Beat"));
        verify(list.activeFocus && shown("4 loops • 64 KB"));
    }

    function test_a_row_shows_what_it_offers_to_pointer_and_keys() {
        Disk.fill(["Beat", "\u05e9\u05dc\u05d5\u05dd ".repeat(9), "W".repeat(10000)]);
        open();
        const beat = row("Beat");
        compare(beat.Accessible.description.split(", ").slice(0, 2), ["00:05", "16 KB"]);
        for (const each of rows()) {
            compare([each.height, each.width], [beat.height, 500]);
            compare(find(each, "Load").mapToItem(each, 0, 0).x, 500 - 16
                - find(each, "Load").width);
            compare(offered(each), []);
        }
        const all = ["Preview loop", "Export loop", "Rename loop", "Delete loop"];
        beat.isHovered = true;
        compare(offered(beat), [], "they fade in");
        tryVerify(() => offered(beat).length === 4);
        compare(offered(beat), all);
        beat.isHovered = false;
        compare(offered(beat), all, "and out");
        tryVerify(() => offered(beat).length === 0);
        verify(find(beat, "Load").visible);

        // A click shows nothing, but the keys begin there.
        mouseClick(rows()[1], 100, 20);
        mouseMove(item("Loop Library"));
        compare(chosen(), []);
        keyClick(Qt.Key_Up);
        compare(chosen(), ["Beat"]);
        tryVerify(() => offered(beat).length === 4);
        verify(beat.activeFocus);
        for (const next of all.concat(["Load"])) {
            keyClick(Qt.Key_Tab);
            verify(find(beat, next).activeFocus, next);
        }
        keyClick(Qt.Key_Tab);
        verify(!list.activeFocus, "past the other rows");
    }

    function test_keys() {
        Disk.fill(["Beat", "Vibe", "Pad", "Bass", "Drum", "Kick", "Snare", "Hat", "Ride", "Tom"]);
        open();
        mouseMove(list, 100, 100);
        keyClick(Qt.Key_Down);
        compare(chosen(), ["Beat"]);
        const walk = [[Qt.Key_Down, "Vibe"], [Qt.Key_End, "Tom"], [Qt.Key_Down, "Tom"],
            [Qt.Key_Home, "Beat"], [Qt.Key_PageDown, "Hat"], [Qt.Key_PageUp, "Beat"],
            [Qt.Key_Down, "Vibe"]];
        for (const [key, name] of walk) {
            keyClick(key);
            wait(50);
            compare(chosen(), [name], "the pointer rests");
            const at = row(name).mapToItem(list, 0, 0).y;
            verify(at >= 0 && at + row(name).height <= list.height, name + " is in sight");
        }
        list.begin();
        type("ba");
        tryVerify(() => lists("Bass"));
        verify(item("Search loops...").activeFocus);
        keyClick(Qt.Key_Return);
        compare(chosen(), ["Bass"]);
        keyClick(Qt.Key_Delete);
        tryVerify(() => shown("Delete Loop") && item("Cancel").activeFocus);
        keyClick(Qt.Key_Return);
        keyClick(Qt.Key_Return);
        verify(window.loopState.showingLoopLibrary, "pressed too soon after a question");
        tryVerify(() => row("Bass").returnLoads);
        keyClick(Qt.Key_Return);
        tryCompare(window, "librarySheet", null);
        tryVerify(() => window.loopState.hasAudio);
        verify(String(window.loopState.fileURL).endsWith("/loop3.wav"));
    }

    function test_load_of_a_lost_loop_closes_and_leaves_the_looper_empty() {
        Disk.fill(["Beat"]);
        open();
        Disk.removeFileOf(0);
        compare(Machine.doAllActions(find(row("Beat"), "Load")), ["Press"]);
        tryCompare(window, "librarySheet", null);
        tryCompare(window.viewModel.notices, "text", "The loop could not be loaded.");
        verify(!window.loopState.hasAudio);
    }

    function test_a_screen_reader_sets_the_volume() {
        Disk.fill(["Beat"]);
        open();
        const slider = item("Preview volume");
        fuzzyCompare(slider.value, 0.7, 1e-6);
        slider.value = 0.25;
        compare(viewModel.previewEngine.previewVolume, 0.25);
    }

    function test_rename() {
        Disk.fill(["Beat", "Vibe"]);
        open();
        viewModel.renameLoop(row("Vibe").loop);
        tryVerify(() => shown("Rename Loop") && item("New Name:").activeFocus);
        compare(item("New Name:").text, "Vibe");
        type("   ");
        verify(!item("Rename").enabled, "what was offered is replaced");
        keyClick(Qt.Key_Return);
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        verify(shown("Rename Loop") && !shown("Error"));
        type("Beat ");
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        tryVerify(() => alertSays(
            "Failed to rename loop: A loop with this name already exists"));
        keyClick(Qt.Key_Return, Qt.ControlModifier);
        verify(shown("Error"), "the alert comes first");
        sheet.close();
        tryVerify(() => !shown("Error"));
        compare(viewModel.errorMessage, "");
        verify(shown("Rename Loop") && sheet.visible);
        tryVerify(() => item("New Name:").activeFocus);
        click(item("Cancel"));
        tryVerify(() => !shown("Rename Loop"));
        compare([viewModel.newLoopName, names()], ["", ["Beat", "Vibe"]]);
        list.begin();
        keyClick(Qt.Key_F2);
        tryVerify(() => shown("Rename Loop") && item("New Name:").activeFocus);
        type(" Drums ");
        keyClick(Qt.Key_Return);
        keyClick(Qt.Key_Return);
        tryVerify(() => !shown("Rename Loop") && row("Drums"));
        compare(chosen(), ["Drums"]);
        verify(sheet.visible && !shown("Error"));
    }

    function test_delete() {
        Disk.fill(["Beat", "Vibe", "Pad"]);
        open();
        const message = "Are you sure you want to delete 'Vibe'? This action cannot be undone.";
        viewModel.deleteLoop(row("Vibe").loop);
        tryVerify(() => shown(message));
        click(item("Delete"));
        tryVerify(() => lists("Beat", "Pad"));
        verify(shown("2 loops • 32 KB") && !shown("Error"));

        // From a row's button and back to it, and on to the next row when there is none.
        list.begin();
        keyClick(Qt.Key_Home);
        for (let i = 0; i < 4; ++i)
            keyClick(Qt.Key_Tab);
        for (const answer of [[Qt.Key_Escape], [Qt.Key_Tab, Qt.Key_Return]]) {
            verify(find(row("Beat"), "Delete loop").activeFocus);
            keyClick(Qt.Key_Return);
            tryVerify(() => shown("Delete Loop") && item("Cancel").activeFocus);
            answer.forEach(key => keyClick(key));
            tryVerify(() => !shown("Delete Loop"));
        }
        tryVerify(() => lists("Pad"));
        compare(chosen(), ["Pad"]);
        mouseMove(row("Pad"), 50, 20);
        compare(chosen(), []);
        Disk.removeFileOf(2);
        keyClick(Qt.Key_End);
        keyClick(Qt.Key_Delete);
        tryVerify(() => shown("Delete Loop"));
        keyClick(Qt.Key_Tab);
        keyClick(Qt.Key_Space);
        tryVerify(() => alertSays("Failed to delete loop: Loop file not found"));
        click(item("OK"));
        tryVerify(() => !shown("Error") && !shown("Delete Loop"));
        verify(!viewModel.showingError && row("Pad"));
    }

    function test_a_disk_that_does_not_answer() {
        Disk.fill(["Beat", "Vibe"]);
        open();
        mouseMove(item("Loop Library"));
        const waits = "Waiting for the disk...";
        for (const command of [() => viewModel.previewLoop(row("Vibe").loop),
            () => {
                viewModel.deleteLoop(row("Vibe").loop);
                tryVerify(() => shown("Delete Loop"));
                click(item("Delete"));
                tryVerify(() => !shown("Delete Loop"));
            }]) {
            Disk.hold();
            command();
            verify(!shown(waits), "at once");
            tryVerify(() => shown(waits));
            verify(lists("Beat", "Vibe"));
            compare(row("Beat").mapToItem(list, 0, 0).y, 0);
            Disk.finish();
            verify(!shown(waits));
        }
        tryVerify(() => lists("Beat"));
    }

    function test_ten_thousand_loops() {
        Disk.fill(Array.from({ length: 10000 }, (_, i) => "Loop " + i), true);
        open();
        const few = () => {
            const made = Array.from(list.contentItem.children).filter(
                child => child.Accessible.role === Accessible.ListItem).length;
            return made > 5 && made < 40;
        };
        verify(few(), "at first");
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_End);
        compare(chosen(), ["Loop 9999"]);
        for (let y = list.contentHeight / 2; y > 0; y -= 5 * list.height) {
            list.contentY = list.originY + y;
            wait(0);
        }
        verify(few(), "after scrolling");
        list.positionViewAtIndex(5000, ListView.Beginning);
        const place = () => names().slice(0, 3).map(
            name => [name, row(name).mapToItem(list, 0, 0).y]).join();
        const before = place();
        mouseMove(row("Loop 5003"), 100, 20);
        tryVerify(() => offered(row("Loop 5003")).length === 4);
        click(find(row("Loop 5003"), "Delete loop"));
        tryVerify(() => shown("Delete Loop"));
        click(item("Delete"));
        tryVerify(() => list.count === 9999);
        tryVerify(() => place() === before);
        verify(before.startsWith("Loop 5000,0"), before);
        type("99");
        tryVerify(() => names()[0] === "Loop 99");
        compare(row("Loop 99").mapToItem(list, 0, 0).y, 0);
        verify(few(), "after typing");
        keyClick(Qt.Key_Escape);
        tryCompare(window, "librarySheet", null);
    }
}
