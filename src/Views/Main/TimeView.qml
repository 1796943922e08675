import QtQuick
import Tessivo
import Tessivo.Style

// How long the take is, or where the loop is, as large as the space allows that it is given; nothing
// while the looper is stopped. A screen reader finds it when it is asked, and is not called.
Item {
    id: root

    required property LoopTime time

    readonly property real textHeight: height - line.height - Theme.timeSpacing
    readonly property int letters: Math.max(time.text.length, 1)

    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("Time")
    Accessible.description: time.text

    Text {
        id: digits

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: -(line.height + Theme.timeSpacing) / 2
        width: parent.width
        text: root.time.text
        textFormat: Text.PlainText
        color: Theme.primaryText
        font: Theme.timeFont(Math.min(root.textHeight, root.width / root.letters * 2))
        horizontalAlignment: Text.AlignHCenter

        Accessible.ignored: true
    }

    ProgressLine {
        id: line

        // Whole pixels: the edges of a part that is painted anew must not be blended with themselves.
        x: Math.round((parent.width - width) / 2)
        y: Math.round(digits.y + digits.height) + Theme.timeSpacing
        width: Theme.timeLineWidth
        height: Theme.timeLineHeight
        visible: root.time.hasProgress
        progress: root.time.progress
        color: Theme.primaryText
        groove: Theme.progressGroove
    }
}
