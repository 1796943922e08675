import QtQuick
import QtTest
import Tessivo
import Tessivo.Style
import TessivoTest

Item {
    width: 400
    height: 100

    LevelMeterView {
        id: meter
        level: 0
        meterHeight: 20
        meterWidth: 300
        segmentCount: 20
    }

    ViewTestCase {
        name: "LevelMeterView"

        function init() {
            meter.level = 0;
        }

        function segments() {
            return Array.from(meter.children).filter(child => child instanceof Rectangle);
        }

        function test_geometry_and_colours() {
            compare(meter.width, 298);
            compare(meter.height, 20);
            segments().forEach((segment, i) => {
                compare(segment.x, i * 15);
                compare(segment.width, 13);
                compare(segment.height, 20);
                const expected = i < 12 ? Theme.green : i < 16 ? Theme.yellow : Theme.red;
                verify(Qt.colorEqual(segment.color, expected), "segment " + i);
            });
            compare(segments().length, 20);
        }

        function test_levels_data() {
            return [
                { tag: "below silence", level: -1, lit: 1 },
                { tag: "silence", level: 0, lit: 1 },
                { tag: "under the scale", level: 1e-9, lit: 1 },
                { tag: "-60 dB", level: 0.001, lit: 1 },
                { tag: "just under -57 dB", level: 0.00141, lit: 1 },
                { tag: "just over -57 dB", level: 0.001413, lit: 2 },
                { tag: "just under -3 dB", level: 0.707, lit: 19 },
                { tag: "just over -3 dB", level: 0.708, lit: 20 },
                { tag: "0 dB", level: 1, lit: 20 },
                { tag: "clipping", level: 3, lit: 20 }
            ];
        }
        function test_levels(data) {
            meter.level = data.level;
            segments().forEach((segment, i) =>
                compare(segment.opacity, i < data.lit ? 1 : 0.3, "segment " + i));
        }

        function test_only_what_changed_is_painted_again() {
            meter.level = 0.1;
            const changes = segments().map(() => 0);
            segments().forEach((segment, i) => segment.opacityChanged.connect(() => ++changes[i]));
            meter.level = 0.101;
            compare(changes.join(""), "00000000000000000000");
            meter.level = 0.15;
            compare(changes.join(""), "00000000000000100000");
        }
    }
}
