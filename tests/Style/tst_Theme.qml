import QtQuick
import QtTest
import Tessivo.Style
import TessivoTest

Item {
    width: 200
    height: 100

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

        function blend(over, under, opacity) {
            return Qt.tint(under, Qt.alpha(over, opacity));
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
            least("name of the device", Theme.blue, Theme.controlBackground, 4.5);
            least("default button", Theme.primaryText,
                  blend(Theme.primaryText, Theme.controlBackground, Theme.buttonFace.a), 7);
            for (const name of ["red", "blue"]) {
                const face = blend(Theme[name], Theme.controlBackground, Theme.buttonTint);
                least("button " + name, Theme[name], face, 4);
            }
            for (const name of ["red", "green", "orange", "gray"])
                least("icon on " + name, Theme.onColor, Theme[name], 3);
            least("icon on yellow", Theme.onColor, Theme.yellow, 2.2);
            least("gray button", Theme.gray, Theme.controlBackground, 3);
        }
    }
}
