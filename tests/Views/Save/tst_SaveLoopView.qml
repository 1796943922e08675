import QtQuick
import QtTest
import Tessivo
import TessivoTest

Item {
    id: scene
    width: 100
    height: 100

    property ContentView window: null
    readonly property SaveLoopView sheet: window ? window.saveSheet : null

    Component {
        id: maker
        ContentView {
            viewModels: Machine.viewModels
        }
    }

    // The sheet over the real window, with the real controller, library and disk.
    ViewTestCase {
        name: "SaveLoopView"

        function init() {
            Disk.clear();
            scene.window = createTemporaryObject(maker, null);
            Disk.playIn(scene.window.viewModel);
            tryVerify(() => scene.window.loopState.canSave);
        }
        function cleanup() {
            Background.finish();
        }

        function open() {
            scene.window.requestActivate();
            tryVerify(() => scene.window.active);
            keyClick(Qt.Key_S, Qt.ControlModifier);
            tryVerify(() => scene.sheet && scene.sheet.active);
        }
        function item(name) {
            return find(scene.sheet.contentItem.parent, name);
        }
        function shown(name) {
            const found = item(name);
            return found !== null && found.visible;
        }
        function field() {
            return item("Loop Name:");
        }
        function type(text) {
            for (const letter of text)
                keyClick(letter);
        }
        function alertSays(message) {
            return shown(message) && shown("Error") && item("OK").activeFocus;
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
            tryCompare(scene, "sheet", null);
            tryVerify(() => Disk.names().length === 1);
            compare(Disk.names(), ["my riff"]);
            tryVerify(() => !scene.window.loopState.canSave);
            compare(scene.window.loopState.transportState, TransportStates.stopped);
            keyClick(Qt.Key_S, Qt.ControlModifier);
            wait(50);
            compare(scene.sheet, null);
        }

        function test_blank_names_are_not_saved_data() {
            return [{ tag: "empty", text: "" }, { tag: "spaces", text: "   " },
                { tag: "other white space", text: "\u00a0\u2003\t" }];
        }
        function test_blank_names_are_not_saved(data) {
            open();
            field().text = data.text;
            verify(!item("Save").enabled);
            keyClick(Qt.Key_Return);
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            mouseClick(item("Save"));
            verify(!scene.sheet.isSaving && !shown("Error"));
            scene.sheet.saveLoop();
            tryVerify(() => alertSays("Please enter a loop name"));
            keyClick(Qt.Key_Escape);
            tryVerify(() => !shown("Error"));
            verify(scene.sheet.visible && !scene.sheet.isSaving);
            tryVerify(() => field().activeFocus);
        }

        function test_failed_save_keeps_the_name_and_can_be_repeated() {
            Disk.removeLoop();
            open();
            Background.finish();
            verify(item("Duration: 00:00") && item("Size: Zero KB"));
            type("again");
            keyClick(Qt.Key_Tab);
            verify(item("Cancel").activeFocus);
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            tryVerify(() => alertSays(item("Error") ? item("Error").Accessible.description : ""));
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            verify(!scene.sheet.isSaving, "the alert comes first");
            keyClick(Qt.Key_Return);
            tryVerify(() => !shown("Error"));
            compare(field().text, "again");
            Disk.writeLoop();
            mouseClick(item("Save"));
            tryCompare(scene, "sheet", null);
            tryVerify(() => Disk.names().length === 1);
            compare(Disk.names(), ["again"]);
        }

        function test_a_closed_sheet_leaves_its_save_alone_and_is_left_alone_data() {
            return [
                { tag: "Escape", close: () => keyClick(Qt.Key_Escape) },
                { tag: "Ctrl+Escape", close: () => keyClick(Qt.Key_Escape, Qt.ControlModifier) },
                { tag: "Cancel", close: () => mouseClick(item("Cancel")) },
                { tag: "window", close: () => scene.sheet.close() }
            ];
        }
        function test_a_closed_sheet_leaves_its_save_alone_and_is_left_alone(data) {
            Background.holdSaves();
            open();
            type("slow");
            keyClick(Qt.Key_Return);
            verify(scene.sheet.isSaving && shown("Saving..."));
            verify(!item("Save").enabled);
            keyClick(Qt.Key_Return);
            keyClick(Qt.Key_Return, Qt.ControlModifier);
            data.close();
            tryCompare(scene, "sheet", null);
            verify(!scene.window.loopState.showingSaveDialog);
            tryVerify(() => !scene.window.loopState.canSave);
            Disk.forget(scene.window.viewModel);
            open();
            compare(field().text.slice(0, 5), "Loop ");
            type("other");
            Background.finish();
            tryVerify(() => Disk.names().length > 0);
            compare(Disk.names(), ["slow"]);
            verify(scene.sheet.visible && !scene.sheet.isSaving && !shown("Saving..."));
            compare(field().text, "other");
            verify(!shown("Error"));
        }

        function test_layout_holds_for_every_name_data() {
            return [{ tag: "long", text: "W".repeat(10000) },
                { tag: "right to left", text: "\u05e9\u05dc\u05d5\u05dd ".repeat(50) },
                { tag: "emoji", text: "\ud83c\udfb8\u0301".repeat(100) }];
        }
        function test_layout_holds_for_every_name(data) {
            open();
            const height = scene.sheet.height;
            field().text = data.text;
            waitForRendering(field());
            compare([scene.sheet.width, scene.sheet.height], [400, height]);
            const box = name => {
                const found = item(name);
                const at = found.mapToItem(null, 0, 0);
                return Qt.rect(at.x, at.y, found.width, found.height);
            };
            const cancel = box("Cancel");
            const save = box("Save");
            compare([box("Loop Name:").x, box("Loop Name:").width], [24, 352]);
            compare(box("Save Loop").y, 24);
            compare(save.x - cancel.right, 16);
            compare(cancel.left, 400 - save.right, "centred");
            compare(height - cancel.bottom, 24);
            for (const next of ["Cancel", "Save", "Loop Name:"]) {
                keyClick(Qt.Key_Tab);
                verify(item(next).activeFocus, next);
            }
        }
    }
}
