import QtQuick
import Tessivo

// Shows around its parent which control the Tab key has reached.
Rectangle {
    anchors.fill: parent
    anchors.margins: -Theme.focusRingGap - Theme.focusRingWidth
    color: "transparent"
    border.color: Theme.focusRing
    border.width: Theme.focusRingWidth
}
