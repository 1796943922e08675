import QtQuick
import Tessivo
import Tessivo.Style
import TessivoTest

// Every window in German and with letters of 20 points: whether all can be read, and is mirrored for
// those who read from right to left.
WindowTestCase {
    name: "Appearance"

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
    function openIn(direction, state) {
        Machine.setMirrored(direction === "mirrored");
        Machine.setAppearance("reduced-motion", 1);
        const shown = open(state)();
        grabImage(shown.contentItem); // all is laid out when it is drawn
        return shown;
    }

    function test_all_can_be_read_data() {
        return ["main-notice", "save", "library-hover", "library-empty", "library-rename",
            "library-delete", "export", "midi-found", "midi-reset"].map(state => ({ tag: state }));
    }
    function test_all_can_be_read(data) {
        const shown = openIn("usual", data.tag);
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
        const mirrored = openIn("mirrored", data.tag);
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

    function test_words_are_german_and_controls_grow_with_them() {
        const main = openIn("usual", "main-notice");
        verify(shows(main.contentItem, "Kein Mikrofon für die Aufnahme gefunden."));
        const meter = find(main.contentItem, "Eingangspegel");
        const grown = size => Math.round(size * 20 / 11);
        compare([meter.height, meter.width + meter.spacing, find(main.contentItem, "Aufnehmen").height],
            [grown(20), grown(300), grown(60)]);
        verify(shows(openLibrary(two)().contentItem, "2 Loops • 32 KB"));
    }
}
