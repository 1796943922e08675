import QtQuick
import Tessivo

// A button without chrome; its face are its children. A click never gives it the focus, so the
// window's transport keys keep working after it; once the Tab key has focused it, which the ring
// shows, Space and Return are its own. It then acts when the key goes down, once, like the
// transport keys do.
//
// It is not one of the toolkit's buttons because those take their role back as soon as a screen
// reader appears, and do not act when it presses them.
Item {
    id: root

    required property string text
    property real focusRingRadius: 6
    property real focusRingGap: Theme.focusRingGap

    signal triggered()

    activeFocusOnTab: true
    opacity: pointer.containsPress ? Theme.pressedOpacity : 1

    function takes(event: KeyEvent): bool {
        const plain = (event.modifiers & ~Qt.KeypadModifier) === 0;
        return plain && [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
    }

    function assist() {
        if (enabled)
            triggered();
    }

    Keys.onShortcutOverride: event => event.accepted = root.takes(event)
    Keys.onPressed: event => {
        event.accepted = root.takes(event);
        if (event.accepted && !event.isAutoRepeat)
            root.triggered();
    }

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: root.assist()

    MouseArea {
        id: pointer

        anchors.fill: parent
        onClicked: root.triggered()
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -root.focusRingGap - Theme.focusRingWidth
        radius: root.focusRingRadius
        visible: root.activeFocus
        color: "transparent"
        border.color: Theme.focusRing
        border.width: Theme.focusRingWidth
    }
}
