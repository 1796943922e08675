import QtQuick
import Tessivo.Style
import TessivoTest

ViewTestCase {
    id: test

    name: "Theme"

    Spinner {
        id: spinner

        parent: test.parent // a test case is not visible
    }

    function cleanup() {
        for (const key of ["color-scheme", "contrast", "reduced-motion"])
            Machine.setAppearance(key, 0);
        Machine.setAnimations(true);
    }

    function luminance(c) {
        const linear = v => v <= 0.04045 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4);
        return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b);
    }

    function contrast(a, b) {
        const [dark, light] = [luminance(a), luminance(b)].sort((x, y) => x - y);
        return (light + 0.05) / (dark + 0.05);
    }

    // By the toolkit's palette, or by the portal against it.
    function test_legible_in_light_and_dark_data() {
        const cases = [];
        for (const dark of [false, true])
            for (const system of [false, true])
                for (const high of [false, true])
                    cases.push({ tag: [dark ? "dark" : "light", system, high].join(), dark: dark,
                        system: system, high: high });
        return cases;
    }
    function test_legible_in_light_and_dark(data) {
        Machine.setDark(data.system ? data.dark : !data.dark);
        Machine.setAppearance("color-scheme", data.system ? 0 : data.dark ? 1 : 2);
        Machine.setAppearance("contrast", data.high ? 1 : 0);
        compare(Theme.dark, data.dark);
        verify(luminance(Theme.controlBackground) < 0.1 === data.dark);
        const least = (what, a, b, ratio, highRatio) => {
            const needed = data.high ? highRatio : ratio;
            verify(contrast(a, b) >= needed, `${what}: ${contrast(a, b).toFixed(2)} < ${needed}`);
        };
        const tint = (color, opacity) => Qt.tint(Theme.controlBackground, Qt.alpha(color, opacity));
        const visible = color => Qt.tint(Theme.controlBackground, color);
        for (const background of ["controlBackground", "windowBackground"]) {
            least("text", Theme.primaryText, Theme[background], 7, 20);
            least("other text", visible(Theme.secondaryText), Theme[background], 4.5, 20);
        }
        for (const name of ["red", "green"])
            least("badge " + name, Theme[name], tint(Theme[name], Theme.tint), 3, 5);
        least("name of the device", Theme.blue, Theme.controlBackground, 4.5, 7);
        least("default button", Theme.primaryText, visible(Theme.buttonFace), 7, 20);
        for (const name of ["red", "blue"])
            least("button " + name, Theme[name], tint(Theme[name], Theme.buttonTint), 4, 6);
        for (const name of ["red", "green", "orange", "gray"])
            least("icon on " + name, Theme.onColor, Theme[name], 3, 7);
        least("icon on yellow", Theme.onColor, Theme.yellow, 2.2, 7);
        least("gray button", Theme.gray, Theme.controlBackground, 3, 7);
        for (const name of ["outline", "separator", "fieldBorder", "menuBorder", "scrollBar"])
            least(name, visible(Theme[name]), Theme.controlBackground, 1.1, 20);
        least("passed time", Theme.primaryText, visible(Theme.progressGroove), 5, 5);
        if (!data.system || data.high)
            least("prominent button", Theme.accentText, Theme.accent, 4, 7);
        compare(Theme.faceBorder > 0, data.high);
    }

    function test_motion_data() {
        return [
            { tag: "as usual", reduced: 0, animations: true, moves: true },
            { tag: "reduced", reduced: 1, animations: true, moves: false },
            { tag: "without animations", reduced: 0, animations: false, moves: false }
        ];
    }
    function test_motion(data) {
        Machine.setAppearance("reduced-motion", data.reduced);
        Machine.setAnimations(data.animations);
        compare(Theme.stateAnimation > 0, data.moves);
        const before = spinner.rotation;
        wait(100);
        compare(spinner.rotation !== before, data.moves);
    }
}
