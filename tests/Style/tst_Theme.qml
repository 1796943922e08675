import QtQuick
import Tessivo.Style
import TessivoTest

ViewTestCase {
    name: "Theme"

    function luminance(c) {
        const linear = v => v <= 0.04045 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4);
        return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b);
    }

    function contrast(a, b) {
        const [dark, light] = [luminance(a), luminance(b)].sort((x, y) => x - y);
        return (light + 0.05) / (dark + 0.05);
    }

    function test_legible_in_light_and_dark() {
        [false, true].forEach(checkLegible);
    }
    function checkLegible(dark) {
        Machine.setDark(dark);
        compare(Theme.dark, dark);
        verify(luminance(Theme.controlBackground) < 0.1 === dark);
        const least = (what, a, b, ratio) => verify(contrast(a, b) >= ratio,
            `${what}, ${dark ? "dark" : "light"}: ${contrast(a, b).toFixed(2)}`);
        const tint = (color, opacity) => Qt.tint(Theme.controlBackground, Qt.alpha(color, opacity));
        least("text", Theme.primaryText, Theme.controlBackground, 7);
        for (const name of ["red", "green"])
            least("badge " + name, Theme[name], tint(Theme[name], Theme.tint), 3);
        least("name of the device", Theme.blue, Theme.controlBackground, 4.5);
        least("default button", Theme.primaryText, tint(Theme.primaryText, Theme.buttonFace.a), 7);
        for (const name of ["red", "blue"])
            least("button " + name, Theme[name], tint(Theme[name], Theme.buttonTint), 4);
        for (const name of ["red", "green", "orange", "gray"])
            least("icon on " + name, Theme.onColor, Theme[name], 3);
        least("icon on yellow", Theme.onColor, Theme.yellow, 2.2);
        least("gray button", Theme.gray, Theme.controlBackground, 3);
    }
}
