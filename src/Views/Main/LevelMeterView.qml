pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import Tessivo.Style

// The input level as segments on a scale from -60 to 0 dB.
SegmentRow {
    id: root

    // Linear amplitude, 0 for silence.
    required property real level
    required property real meterHeight
    required property real meterWidth
    required property int segmentCount

    // The nearest count is corrected by the rounded positions, which decide.
    litCount: {
        let normalized = 0;
        if (level > 0) {
            const decibels = Math.fround(20 * Math.fround(Math.log10(level)));
            normalized = Math.fround((Math.max(decibels, -60) + 60) / 60);
        }
        let count = Math.floor(normalized * segmentCount);
        while (count > 0 && position(count - 1) > normalized)
            --count;
        while (count < segmentCount && position(count) <= normalized)
            ++count;
        return count;
    }
    colors: Array.from({ length: segmentCount }, (_, index) => segmentColor(index))
    opacityUnlit: Theme.unlitOpacity

    function position(index: int): real {
        return Math.fround(index / segmentCount);
    }

    function segmentColor(index: int): color {
        const p = position(index);
        if (p < Math.fround(0.6))
            return Theme.green;
        return p < Math.fround(0.8) ? Theme.yellow : Theme.red;
    }

    width: meterWidth - spacing
    height: meterHeight
    spacing: Theme.meterSpacing

    Accessible.role: Accessible.Indicator
    Accessible.name: "Input level"
}
