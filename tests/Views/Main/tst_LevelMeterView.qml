import QtQuick
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

        function segments() {
            return Array.from(meter.children).filter(child => child instanceof Rectangle);
        }

        function test_geometry_and_colours() {
            compare([meter.width, meter.height], [298, 20]);
            segments().forEach((segment, i) => {
                compare([segment.x, segment.width, segment.height], [i * 15, 13, 20]);
                const expected = i < 12 ? Theme.green : i < 16 ? Theme.yellow : Theme.red;
                verify(Qt.colorEqual(segment.color, expected), "segment " + i);
            });
            compare(segments().length, 20);
        }

        function test_levels() {
            // The first segment is always lit; the others from -57 dB to -3 dB.
            for (const [level, lit] of [[-1, 1], [0, 1], [1e-9, 1], [0.00141, 1], [0.001413, 2],
                    [0.707, 19], [0.708, 20], [1, 20], [3, 20]]) {
                meter.level = level;
                segments().forEach((segment, i) => compare(segment.opacity, i < lit ? 1 : 0.3,
                    `segment ${i} at ${level}`));
            }
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
