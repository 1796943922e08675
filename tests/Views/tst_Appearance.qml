import QtQuick
import Tessivo
import Tessivo.Style
import TessivoTest

// Every window in the language and with the font that the run was started with: whether all can be
// read, and is mirrored for those who read from right to left.
SheetTestCase {
    name: "Appearance"

    readonly property bool isGerman: Machine.language === "de"

    // Each opens a window and returns what tells it.
    readonly property var openers: ({
        main: () => {
            Machine.plugMicrophone(false);
            tryVerify(() => window.viewModel.notices.text !== "");
            return () => window;
        },
        save: () => {
            Disk.playIn(window.viewModel);
            window.loopState.showingSaveDialog = true;
            tryVerify(() => shows(window.saveSheet.contentItem, "01:15"));
            return () => window.saveSheet;
        },
        library: () => openLibrary("beat", "pad"),
        empty: () => openLibrary(),
        renaming: () => openFromRow("rename"),
        deleting: () => openFromRow("deleteLoop"),
        exporting: () => {
            openFromRow("exportLoop");
            tryVerify(() => shows(window.librarySheet.savePanel.contentItem, "SavedLoops"));
            return () => window.librarySheet.savePanel;
        },
        midi: () => {
            Controllers.unplugAll();
            Controllers.plugIn("Keys");
            window.showingMIDISettings = true;
            tryVerify(() => shows(window.midiSheet.contentItem, "Keys"));
            return () => window.midiSheet;
        },
        resetting: () => {
            window.showingMIDISettings = true;
            window.midiSheet.showingResetConfirmation = true;
            return () => window.midiSheet;
        }
    })

    function openLibrary(...names) {
        Disk.fill(names);
        window.loopState.showingLoopLibrary = true;
        tryVerify(() => rows().length === names.length && !window.librarySheet.viewModel.isLoading);
        return () => window.librarySheet;
    }
    function openFromRow(command) {
        const library = openLibrary("beat");
        rows()[0][command]();
        return library;
    }
    function rows() {
        return visibleItems(window.librarySheet.contentItem).filter(
            item => item.Accessible.role === Accessible.ListItem);
    }
    function visibleItems(item) {
        return !item.visible || item.opacity === 0 ? []
            : [item].concat(...Array.from(item.children).map(visibleItems));
    }
    function textsIn(shown) {
        return visibleItems(shown.contentItem.parent).filter(
            item => item.contentWidth > 0 && item.text && item.fontInfo);
    }
    // The painted part of a text, from left to right.
    function span(text) {
        const free = text.width - text.contentWidth;
        const start = { [Text.AlignRight]: free, [Text.AlignHCenter]: free / 2 };
        const left = text.mapToItem(null, start[text.effectiveHorizontalAlignment] ?? 0, 0).x;
        return [left, left + text.contentWidth];
    }
    function open(which, mirrored) {
        Machine.setMirrored(mirrored);
        makeWindow();
        const opened = openers[which]();
        tryVerify(() => opened() && opened().visible);
        wait(Theme.stateAnimation + 50); // rows fade in
        Machine.keep(opened(), `${which}${mirrored ? "-mirrored" : ""}`);
        return opened();
    }
    function cleanup() {
        Controllers.unplugAll();
        Disk.finish();
        Machine.setMirrored(false);
    }

    function test_all_can_be_read_data() {
        return Object.keys(openers).map(which => ({ tag: which }));
    }
    function test_all_can_be_read(data) {
        const shown = open(data.tag, false);
        const texts = textsIn(shown);
        verify(texts.length > 2);
        for (const text of texts) {
            const [left, right] = span(text);
            const bottom = text.mapToItem(null, 0, text.contentHeight).y;
            const name = `"${text.text}" at ${left} to ${right}, ${bottom}`;
            verify(left >= 0 && right <= shown.width && bottom <= shown.height, name);
            verify(!text.truncated || text.text.startsWith("/"), name);
            verify(text.wrapMode !== Text.NoWrap || text.elide !== Text.ElideNone
                || text.implicitWidth < text.width + 1, name);
            for (const icon of Array.from(text.parent.children))
                verify(!icon.symbol || icon.height >= text.fontInfo.pixelSize * 0.8, "icon at " + name);
        }
        const spans = texts.map(text => [text.text].concat(span(text)));

        // The same from right to left.
        const mirrored = open(data.tag, true);
        compare(mirrored.width, shown.width);
        const others = textsIn(mirrored);
        spans.forEach(([words, left, right], i) => {
            compare(others[i].text, words);
            const [otherLeft, otherRight] = span(others[i]);
            const name = `"${words}" at ${left} to ${right}, mirrored ${otherLeft} to ${otherRight}`;
            verify(Math.abs(mirrored.width - otherRight - left) < 3, name);
            verify(Math.abs(mirrored.width - otherLeft - right) < 3, name);
        });
    }

    function test_language() {
        const main = open("main", false);
        verify(shows(main.contentItem, isGerman ? "Aufnehmen drücken" : "Press Record"));
        verify(shows(main.contentItem, isGerman ? "Kein Mikrofon für die Aufnahme gefunden."
            : "No microphone was found to record from."));
        const library = openLibrary("a", "b")();
        verify(shows(library.contentItem, isGerman ? "2 Loops • 32 KB" : "2 loops • 32 KB"));
        verify(shows(library.contentItem, isGerman ? "Neueste zuerst" : "Newest First"));
    }

    function test_meter_and_badge_grow_with_the_font() {
        const main = open("main", false);
        const ratio = isGerman ? 20 / 11 : 1;
        const meter = find(main.contentItem, isGerman ? "Eingangspegel" : "Input level");
        compare([meter.height, meter.width + meter.spacing],
            [Math.round(20 * ratio), Math.round(300 * ratio)]);
        compare(find(main.contentItem, isGerman ? "Aufnehmen" : "Record").height,
            Math.round(60 * ratio));
    }
}
