import QtQuick
import Tessivo.Style

// A text of its own, which a screen reader reads. The text of a control is read as the control's
// name, and is no Label.
Text {
    font: Theme.body
    color: Theme.primaryText
    // Otherwise the script of the text would decide, and not the direction of the window.
    horizontalAlignment: Text.AlignLeft

    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
