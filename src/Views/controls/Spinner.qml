import QtQuick
import QtQuick.Controls.impl
import Tessivo

// Turns while something goes on.
IconImage {
    id: root

    source: Theme.icon("rays")
    color: Theme.primaryText
    sourceSize.width: Theme.spinnerSize
    sourceSize.height: Theme.spinnerSize

    RotationAnimation on rotation {
        running: root.visible
        from: 0
        to: 360
        duration: Theme.spinnerTurn
        loops: Animation.Infinite
    }
}
