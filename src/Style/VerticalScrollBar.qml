import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// The position in a list, shown whenever the list does not fit.
T.ScrollBar {
    id: root

    implicitWidth: Theme.scrollBarWidth + 2 * Theme.scrollBarMargin
    padding: Theme.scrollBarMargin
    minimumSize: Theme.scrollBarMinimumLength / height
    visible: size < 1

    contentItem: Rectangle {
        radius: width / 2
        color: Theme.scrollBar
        opacity: root.pressed ? Theme.pressedOpacity : 1
    }
}
