import QtQuick
import Tessivo.Style

// Turns while something is in progress; stands still for those whom motion disturbs.
Icon {
    id: root

    symbol: "rays"
    color: Theme.primaryText
    size: Theme.spinnerSize

    RotationAnimation on rotation {
        running: root.visible && Theme.spinnersTurn
        from: 0
        to: 360
        duration: Theme.spinnerTurn
        loops: Animation.Infinite
    }
}
