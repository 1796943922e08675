import QtQuick
import QtQuick.Templates as T
import Tessivo

// Shows where a list stands, all the time that there is more than is in sight.
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
