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

        // What is drawn at each segment, from left to right.
        function drawn() {
            const picture = grabImage(meter);
            return Array.from({ length: 20 }, (_, i) => picture.pixel(i * 15 + 12, 19));
        }

        function test_a_peak_is_marked_beyond_the_segments_for_a_second() {
            const mark = () => grabImage(meter.parent).pixel(307, 10);
            const row = grabImage(meter);
            const none = mark();
            verify(!meter.isPeaking);
            meter.showPeak();
            const begin = Date.now();
            tryVerify(() => Qt.colorEqual(mark(), Theme.red));
            verify(grabImage(meter).equals(row), "the segments are as they were");
            tryVerify(() => Qt.colorEqual(mark(), none));
            verify(Date.now() - begin > 900);
        }

        function test_levels() {
            meter.level = 3;
            const lit = drawn();
            // The first segment is always lit; the others from -57 dB to -3 dB.
            for (const [level, count] of [[-1, 1], [0, 1], [1e-9, 1], [0.00141, 1], [0.001413, 2],
                    [0.1, 14], [0.707, 19], [0.708, 20], [1, 20]]) {
                meter.level = level;
                drawn().forEach((color, i) => compare(Qt.colorEqual(color, lit[i]), i < count,
                    `segment ${i} at ${level}`));
            }
        }

        function test_a_screen_reader_finds_the_level_in_decibels() {
            compare(meter.Accessible.role, Accessible.ProgressBar);
            for (const [level, decibels] of [[0, -60], [1e-9, -60], [0.1, -20], [2, 0]]) {
                meter.level = level;
                compare(Machine.valueOf(meter).map(Math.round), [decibels, -60, 0]);
            }
        }
    }
}
