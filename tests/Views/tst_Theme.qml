import QtQuick
import QtTest
import Tessivo
import TessivoTest

Item {
    width: 200
    height: 100

    ViewTestCase {
        name: "Theme"

        function blend(over, under, opacity) {
            const mix = (a, b) => a * opacity + b * (1 - opacity);
            return Qt.rgba(mix(over.r, under.r), mix(over.g, under.g), mix(over.b, under.b), 1);
        }

        function test_legible_in_light_and_dark_data() {
            return [{ tag: "light", dark: false }, { tag: "dark", dark: true }];
        }
        function test_legible_in_light_and_dark(data) {
            Desktop.setDark(data.dark);
            compare(Theme.dark, data.dark);
            verify(luminance(Theme.controlBackground) < 0.1 === data.dark);
            const least = (what, a, b, ratio) => verify(contrast(a, b) >= ratio,
                what + ": " + contrast(a, b).toFixed(2));
            least("text", Theme.primaryText, Theme.controlBackground, 7);
            for (const name of ["red", "green"]) {
                const badge = blend(Theme[name], Theme.controlBackground, Theme.tint);
                least("badge " + name, Theme[name], badge, 3);
            }
            for (const name of ["red", "green", "orange", "gray"])
                least("icon on " + name, Theme.onColor, Theme[name], 3);
            least("icon on yellow", Theme.onColor, Theme.yellow, 2.2);
            least("gray button", Theme.gray, Theme.controlBackground, 3);
        }
    }
}
