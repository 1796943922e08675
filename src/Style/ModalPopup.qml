import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// Something in the middle of a sheet that must be answered before the sheet can be used again.
T.Popup {
    id: root

    anchors.centerIn: parent
    margins: Theme.alertMargin
    modal: true
    focus: true

    T.Overlay.modal: Rectangle {
        color: Theme.dimming
    }

    background: Rectangle {
        radius: Theme.sheetRadius
        color: Theme.controlBackground
        border.color: Theme.outline
    }
}
