import QtQuick
import QtTest
import Tessivo
import Tessivo.Style
import TessivoTest

// The whole window with its real controller.
SheetTestCase {
    name: "ContentView"

    SignalSpy {
        id: appearances

        signalName: "visibleChanged"
    }

    function test_window() {
        makeWindow();
        activate(window);
        const content = window.contentItem;
        compare([window.minimumWidth, window.maximumWidth, window.maximumHeight],
            [380, 400, 500 + window.height - content.height]);
        const item = name => find(window.contentItem, name);

        // Nothing overlaps in the smallest window either.
        window.height = window.minimumHeight;
        const toggle = item("Input Monitor");
        const product = item("Tessivo");
        tryVerify(() => product.y + product.height === content.height - 40);
        verify(product.y >= toggle.mapToItem(null, 0, toggle.height).y + 60);

        for (const name of ["Library", "MIDI Settings"]) {
            keyClick(Qt.Key_Tab);
            verify(find(window.header, name).activeFocus, name);
        }
        keyClick(Qt.Key_Tab);
        verify(item("Record").activeFocus);
        const save = find(window.header, "Save");
        verify(!save.enabled);
        for (const target of [save, product, item("Input Monitor")]) {
            item("Record").forceActiveFocus(Qt.TabFocusReason);
            mouseClick(target);
            verify(!item("Record").activeFocus, "a click takes the focus back");
        }
        tryCompare(window.loopState, "inputMonitoringEnabled", true);
        keyClick(Qt.Key_S, Qt.ControlModifier);
        compare(window.saveSheet, null, "there is nothing to save");

        Disk.playIn(window.viewModel);
        tryVerify(() => window.loopState.canPlay);
        for (const [command, stopped] of [["Play", false], ["Stop", true]]) {
            mouseClick(item(command));
            tryVerify(() => find(window.header, "Library").enabled === stopped);
            keyClick(Qt.Key_O, Qt.ControlModifier);
            wait(50);
            compare(window.librarySheet !== null, stopped);
        }
        window.loopState.showingLoopLibrary = false;

        const places = () => ["Paused", "Play"].map(name => item(name).mapToItem(null, 0, 0)).join();
        const before = places();
        const spinner = item("Waiting for the disk...");
        Disk.hold();
        mouseClick(item("Play"));
        verify(!spinner.visible, "at once");
        tryVerify(() => spinner.visible);
        compare(places(), before);
        verify(spinner.mapToItem(content, spinner.width, 0).x < content.width);
        Disk.finish();
        tryVerify(() => item("Playing Loop"));
        verify(!spinner.visible);
        mouseClick(item("Stop"));
        tryVerify(() => item("Paused"));
    }

    function test_keys_without_latin_letters_count_by_their_places() {
        const placeOfO = 32;
        for (const [key, isO] of [[0x0429, true], [0x03a9, true], [0x0627, true], [Qt.Key_U, false],
                [Qt.Key_F1, false], [Qt.Key_1, false]]) {
            makeWindow();
            activate(window);
            Machine.pressInPlace(window, key, Qt.ControlModifier, placeOfO);
            wait(50);
            compare(window.librarySheet !== null, isO, key);
            if (!isO)
                continue;
            tryVerify(() => takesKeys(window.librarySheet));
            const field = window.librarySheet.activeFocusItem;
            Machine.pressInPlace(window.librarySheet, key, Qt.NoModifier, placeOfO);
            compare(field.text, String.fromCharCode(key), "what it types");
            Machine.pressInPlace(window.librarySheet, 0x0444, Qt.ControlModifier, 38);
            compare(field.selectedText, field.text, "Ctrl+A");
        }
    }

    function test_the_devices_in_use_are_told_and_followed() {
        makeWindow();
        activate(window);
        const meter = find(window.contentItem, "Input level");
        for (const [plugged, text] of [[true, "Microphone: Röhrenmikrofon\nSpeaker: Headphones"],
                [false, "No microphone\nSpeaker: Headphones"]]) {
            Machine.plugMicrophone(plugged);
            tryCompare(meter.Accessible, "description", text);
        }
        wait(50); // until the next level is due
        Machine.playIn(1);
        tryVerify(() => meter.isPeaking);
        mouseMove(meter);
        tryVerify(() => shows(window.contentItem.parent, meter.Accessible.description));
    }

    function test_time_takes_only_space_that_nothing_else_has() {
        makeWindow();
        activate(window);
        const content = window.contentItem;
        const time = find(content, "Time");
        verify(!time.visible);
        Disk.playIn(window.viewModel);
        const before = JSON.stringify([find(content, "Clear").mapToItem(null, 0, 0),
            window.minimumHeight]);
        mouseClick(find(content, "Play"));
        tryCompare(time.Accessible, "description", "00:00 / 01:15");
        compare(time.Accessible.role, Accessible.StaticText);
        compare(JSON.stringify([find(content, "Clear").mapToItem(null, 0, 0),
            window.minimumHeight]), before);
        for (const height of [window.maximumHeight, window.minimumHeight]) {
            window.height = height;
            tryVerify(() => shows(time, "00:00 / 01:15"));
            const digits = Array.from(time.children).find(child => child.text);
            const line = Array.from(time.children).find(child => child.filledWidth === 0);
            tryVerify(() => line.y + line.height <= time.height && digits.y >= 0);
            verify(digits.contentWidth <= time.width && digits.contentHeight > 25);
            line.progress = 0.5;
            compare(line.filledWidth, line.width / 2);
            const picture = grabImage(content);
            const at = line.mapToItem(content, 1, 1.5);
            verify(Qt.colorEqual(picture.pixel(at.x, at.y), Theme.primaryText));
            verify(!Qt.colorEqual(picture.pixel(at.x + line.width - 3, at.y), Theme.primaryText));
            line.progress = 0;
        }
        window.height = window.maximumHeight;
        Machine.plugMicrophone(false);
        tryVerify(() => !time.visible, "a notice goes before it");
        Machine.plugMicrophone(true);
        tryVerify(() => time.visible);
        mouseClick(find(content, "Stop"));
        tryVerify(() => !time.visible);
    }

    function test_keys_that_come_at_once_act_as_two_presses_data() {
        const keys = { Record: Qt.Key_Return, Play: Qt.Key_Space, Stop: Qt.Key_Period,
            Clear: Qt.Key_Delete | Qt.ControlModifier };
        const rows = [];
        for (const first in keys)
            for (const second in keys)
                rows.push({ tag: first + " " + second, keys: [keys[first], keys[second]] });
        return rows;
    }
    function test_keys_that_come_at_once_act_as_two_presses(data) {
        const outcomes = [true, false].map(atOnce => {
            makeWindow();
            activate(window);
            Disk.playIn(window.viewModel);
            for (const keys of atOnce ? [data.keys] : data.keys.map(key => [key])) {
                Machine.pressAtOnce(window, keys);
                if (!atOnce)
                    Disk.finish();
            }
            wait(150); // a loop plays a tenth of a second after its take
            Disk.finish();
            return [window.loopState.transportState, window.loopState.hasAudio,
                window.viewModel.notices.text].join();
        });
        compare(outcomes[0], outcomes[1]);
    }

    function test_nothing_is_in_the_way_of_a_take() {
        makeWindow();
        activate(window);
        const library = find(window.header, "Library");
        window.viewModel.recordButtonPressed();
        tryVerify(() => !library.enabled);
        mouseClick(library, 5, 5, Qt.RightButton);
        verify(!shown("Open Folder of Takes", window));
        window.viewModel.stopButtonPressed();
        Disk.finish();
    }

    function test_a_notice_takes_only_space_that_nothing_else_has() {
        makeWindow();
        activate(window);
        const content = window.contentItem;
        const places = () => ["Press Record", "Input level", "Record", "Clear", "Input Monitor",
            "Tessivo"].map(name => find(content, name).mapToItem(null, 0, 0));
        const before = JSON.stringify([places(), window.width, window.minimumHeight]);
        const all = grabImage(content);

        Machine.plugMicrophone(false);
        const text = "No microphone was found to record from.";
        tryVerify(() => find(content, text)?.visible);
        const notice = find(content, text);
        compare(notice.Accessible.role, Accessible.Notification);
        compare(JSON.stringify([places(), window.width, window.minimumHeight]), before);
        verify(!grabImage(content).equals(all));
        compare(find(notice.parent, "MIDI Settings"), null);
        window.height = window.minimumHeight;
        const bottom = find(content, "Input Monitor").mapToItem(null, 0, 0).y;
        tryVerify(() => notice.mapToItem(null, 0, 0).y > bottom + 20);
        verify(notice.mapToItem(null, 0, notice.height).y < find(content, "Tessivo").y);
        window.height = window.maximumHeight;

        appearances.target = notice;
        Machine.plugMicrophone(true);
        tryVerify(() => grabImage(content).equals(all), "nothing is left of it");
        compare(appearances.count, 1);
        for (const name of ["Keys", "W".repeat(200)]) {
            Controllers.plugIn(name);
            tryVerify(() => find(content, "Controller found: " + name)?.visible);
            const button = find(notice.parent, "MIDI Settings");
            tryVerify(() => button.mapToItem(null, button.width, 0).x <= content.width - 16);
            verify(!button.activeFocus, "the focus went with the notice before");
            for (let i = 0; i < 8 && !button.activeFocus; ++i)
                keyClick(Qt.Key_Tab);
            verify(button.activeFocus);
            keyClick(Qt.Key_Space);
            tryVerify(() => window.midiSheet);
            window.showingMIDISettings = false;
            activate(window);
            appearances.clear();
            Machine.plugMicrophone(false);
            tryVerify(() => find(content, text));
            compare(appearances.count, 2, "a screen reader says it");
            Controllers.unplugAll();
            Machine.plugMicrophone(true);
            tryVerify(() => !notice.visible);
        }
    }
}
