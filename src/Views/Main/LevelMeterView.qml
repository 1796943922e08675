pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import Tessivo.Style

// The input level as segments on a scale from -60 to 0 dB.
SegmentRow {
    id: root

    required property real meterHeight
    required property real meterWidth
    required property int segmentCount

    colors: Array.from({ length: segmentCount }, (_, index) => segmentColor(index))
    opacityUnlit: Theme.unlitOpacity

    function segmentColor(index: int): color {
        const p = Math.fround(index / segmentCount);
        if (p < Math.fround(0.6))
            return Theme.green;
        return p < Math.fround(0.8) ? Theme.yellow : Theme.red;
    }

    width: meterWidth - spacing
    height: meterHeight
    spacing: Theme.meterSpacing

    transform: Scale {
        origin.x: root.width / 2
        xScale: root.LayoutMirroring.enabled ? -1 : 1
    }

    Accessible.role: Accessible.ProgressBar
    Accessible.name: qsTr("Input level")
}
