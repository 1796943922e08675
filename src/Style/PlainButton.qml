import QtQuick
import Tessivo.Style

// A button that draws nothing but its focus ring; its children are what it shows. A click does not
// give it the focus, so that Space and Return remain the window's transport keys. Once it has been
// focused by the Tab key, Space and Return trigger it: once, when the key goes down, as the
// transport keys do.
//
// It is not one of the toolkit's buttons because those reset their accessible role as soon as a
// screen reader appears, and are not triggered when it presses them.
Item {
    id: root

    required property string text
    // What more a screen reader says.
    property string description: ""
    property real focusRingRadius: 6
    property real focusRingGap: Theme.focusRingGap

    signal triggered()

    activeFocusOnTab: true
    opacity: pointer.containsPress ? Theme.pressedOpacity : 1

    function isTriggerKey(event: KeyEvent): bool {
        const plain = (event.modifiers & ~Qt.KeypadModifier) === 0;
        return plain && [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
    }

    function triggerByScreenReader() {
        if (enabled)
            triggered();
    }

    Keys.onShortcutOverride: event => event.accepted = root.isTriggerKey(event)
    Keys.onPressed: event => {
        event.accepted = root.isTriggerKey(event);
        if (event.accepted && !event.isAutoRepeat)
            root.triggered();
    }

    Accessible.role: Accessible.Button
    Accessible.name: text
    // The toolkit does not tell it that the button is disabled.
    Accessible.description: description + (enabled ? ""
        : (description === "" ? "" : ", ") + qsTr("unavailable"))
    Accessible.focusable: true
    Accessible.onPressAction: root.triggerByScreenReader()

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
