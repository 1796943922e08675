import QtQuick
import Tessivo.Style

// Turns while something is in progress.
Icon {
    id: root

    symbol: "rays"
    color: Theme.primaryText
    size: Theme.spinnerSize

    RotationAnimation on rotation {
        running: root.visible
        from: 0
        to: 360
        duration: Theme.spinnerTurn
        loops: Animation.Infinite
    }
}
