pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import Tessivo.Style

// The input level as segments on a scale from -60 to 0 dB, and beyond their end a mark that shows for
// a second that the input was at full scale. The devices in use are told on request.
SegmentRow {
    id: root

    required property real meterHeight
    required property real meterWidth
    required property int segmentCount
    property string devices: ""

    readonly property bool isPeaking: peakTime.running

    colors: Array.from({ length: segmentCount }, (_, index) => segmentColor(index))
    opacityUnlit: Theme.unlitOpacity

    function segmentColor(index: int): color {
        const p = Math.fround(index / segmentCount);
        if (p < Math.fround(0.6))
            return Theme.green;
        return p < Math.fround(0.8) ? Theme.yellow : Theme.red;
    }

    function showPeak() {
        peakTime.restart();
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
    Accessible.description: devices

    Timer {
        id: peakTime

        interval: Theme.peakTime
    }

    Rectangle {
        LayoutMirroring.enabled: false // the scale mirrors it already
        anchors.left: parent.right
        anchors.leftMargin: Theme.peakMarkSpacing
        width: Theme.peakMarkWidth
        height: parent.height
        radius: width / 2
        color: Theme.red
        visible: root.isPeaking
    }

    HoverTip {
        text: root.devices
    }
}
