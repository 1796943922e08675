import QtQuick
import QtTest
import Tessivo
import TessivoTest

// Files that come into the library and go out of it by the pointer.
LibraryTestCase {
    id: test

    name: "LoopFiles"

    readonly property point middle: Qt.point(250, 400)
    readonly property string invitation: "Drop files to import them into the library"
    property url folder
    property url file

    function init() {
        Disk.fill(["Beat", "50% Größe #1"]);
        folder = Disk.emptyFolder();
        file = Disk.linkTo(0, folder, true);
        open();
    }
    function drop(...files) {
        verify(Machine.drag(sheet, middle, files));
        verify(Machine.drop(sheet, middle));
    }

    function test_files_that_are_dropped_become_loops() {
        verify(!Machine.drag(sheet, middle, []), "a text");
        verify(!shown(invitation));
        Machine.dragOut(sheet);
        verify(Machine.drag(sheet, middle, [file]));
        verify(shown(invitation));
        Machine.dragOut(sheet);
        tryVerify(() => !shown(invitation));

        drop(file);
        verify(!shown(invitation));
        tryVerify(() => lists("link", "Beat", "50% Größe #1"));
        Disk.finish();
        compare(Disk.names(), ["link", "Beat", "50% Größe #1"]);
        verify(!shown("Import"));

        // Also while the list is being read, and from an empty one.
        viewModel.refreshLibrary();
        drop(file);
        tryVerify(() => !viewModel.isLoading && lists("link_1", "link", "Beat", "50% Größe #1"));
        Disk.finish();
        Disk.clear();
        viewModel.refreshLibrary();
        tryVerify(() => shown("No Saved Loops"));
        Disk.writeLoop();
        drop(file);
        tryVerify(() => lists("link"));
        Disk.finish();
    }

    function test_what_cannot_be_imported_is_told() {
        drop(folder, "http://host/a.wav");
        const message = "Exports: This is a folder\nhttp://host/a.wav: This is not on this computer";
        tryVerify(() => shown("Import") && shown(message) && item("OK").activeFocus);
        verify(!Machine.drag(sheet, middle, [file]), "behind the alert");
        Machine.dragOut(sheet);
        keyClick(Qt.Key_Escape);
        tryVerify(() => !shown("Import"));
        verify(lists("Beat", "50% Größe #1"));
    }

    function test_a_long_import_can_be_cancelled() {
        Disk.hold();
        drop(file);
        verify(!shown("Importing link.wav"), "at once");
        tryVerify(() => shown("Importing link.wav"));
        click(item("Cancel Import"));
        Disk.finish();
        tryVerify(() => !shown("Importing link.wav"));
        compare(Disk.names(), ["Beat", "50% Größe #1"]);
        verify(!shown("Import"));
    }

    SignalSpy {
        id: journeys

        signalName: "dragStarted"
    }

    // Here nothing can be dropped: the offscreen platform ends every drag at once.
    function test_a_row_goes_out_as_a_file() {
        const parcel = Array.from(list.children).find(child => child instanceof LoopParcel);
        journeys.target = parcel.Drag;
        const files = [["Beat", "loop0.wav"], ["50% Größe #1", "loop1.wav"]];
        for (const [name, file] of files) {
            journeys.clear();
            mousePress(row(name), 100, 20);
            for (const y of [22, 30, 40, 50])
                mouseMove(row(name), 100, y);
            tryCompare(journeys, "count", 1);
            mouseRelease(row(name), 100, 50);
            const uri = parcel.Drag.mimeData["text/uri-list"];
            verify(uri.startsWith("file:///") && uri.endsWith("/Documents/SavedLoops/" + file));
            compare([parcel.name, parcel.Drag.supportedActions], [name, Qt.CopyAction]);
            verify(String(parcel.Drag.imageSource) !== "");
        }
        // The pointer does afterwards what it did before, and a finger moves the list.
        compare([list.contentY, names().join()], [list.originY, "Beat,50% Größe #1"]);
        mouseClick(row("Beat"), 100, 20, Qt.RightButton);
        tryVerify(() => shown("Export"));
        keyClick(Qt.Key_Escape);
        tryVerify(() => !shown("Export"));
        const finger = touchEvent(list);
        finger.press(0, row("Beat"), 100, 20).commit();
        for (const y of [22, 30, 40, 50])
            finger.move(0, row("Beat"), 100, y).commit();
        finger.release(0, row("Beat"), 100, 50).commit();
        wait(50);
        compare(journeys.count, 1);
        click(find(row("Beat"), "Load"));
        tryCompare(window, "librarySheet", null);
        Disk.finish();
        compare(window.loopState.fileURL.toString().split("/").pop(), "loop0.wav");
    }
}
