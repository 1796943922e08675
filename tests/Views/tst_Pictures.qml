import QtQuick
import TessivoTest

// What is drawn, in every state of every window. Nothing moves, so that all is at its end.
WindowTestCase {
    name: "Pictures"

    function looksAs(shown, name) {
        if (Pictures.renewing) {
            wait(200); // whatever may still come
            Pictures.renew(shown(), name);
            return;
        }
        const same = comesTrue(() => Pictures.matches(shown(), name), 50);
        verify(same, same ? "" : Pictures.keepDifference(name));
    }

    function test_pictures_data() {
        const all = Object.keys(states).map(state => ({ tag: state }));
        for (const state of ["main-paused", "save-empty", "library", "midi-devices"])
            all.push({ tag: `${state}-mirrored`, state, mirrored: true });
        for (const state of ["main-paused", "save-empty", "library-rename", "export-replace", "midi-learning"])
            all.push({ tag: `${state}-contrast`, state, contrast: 1 });
        return all;
    }
    function test_pictures(data) {
        Machine.setAppearance("reduced-motion", 1);
        Machine.setAppearance("contrast", data.contrast ?? 0);
        Machine.setMirrored(data.mirrored ?? false);
        const shown = open(data.state ?? data.tag);
        looksAs(shown, data.tag);
        Machine.setAppearance("color-scheme", 1);
        looksAs(shown, `${data.tag}-dark`);
    }

    // Where motion is welcome, what changes is at first as it was.
    function test_a_row_fades() {
        makeWindow();
        openLibrary(one);
        const row = rows()[0];
        const buttons = find(row, "Delete loop").parent;
        const look = () => [String(row.color), buttons.opacity].join();
        const before = look();
        row.isHovered = true;
        compare(look(), before);
        tryVerify(() => look() !== before);
    }
}
