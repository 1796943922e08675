import QtQuick
import Tessivo
import QtQuick.Templates as T

// A button without chrome. A click never gives it the focus, so the window's transport keys keep
// working after it; once the Tab key has visibly focused it, Space and Return are its own. It
// then acts when the key goes down, once, like the transport keys do.
T.AbstractButton {
    id: root

    focusPolicy: Qt.TabFocus
    hoverEnabled: false
    opacity: down ? Theme.pressedOpacity : 1

    function takes(event: KeyEvent): bool {
        const plain = (event.modifiers & ~Qt.KeypadModifier) === 0;
        return visualFocus && plain && [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
    }

    Keys.onShortcutOverride: event => event.accepted = root.takes(event)
    Keys.onPressed: event => {
        event.accepted = root.takes(event);
        if (event.accepted && !event.isAutoRepeat)
            root.clicked();
    }
    Keys.onReleased: event => event.accepted = root.takes(event)
}
