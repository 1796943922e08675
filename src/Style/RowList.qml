import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// A list with a current row, which the arrow keys change. Only the rows in sight exist.
ListView {
    id: root

    // The current row is marked only for the keyboard: not after the pointer was moved or clicked.
    property bool pointerInUse: false
    readonly property bool showsCurrent: activeFocus && !pointerInUse

    // Gives the list the keyboard.
    function begin() {
        pointerInUse = false;
        forceActiveFocus(Qt.TabFocusReason);
    }

    // The buttons that a row shows only for the keyboard disappear; one of them may have the focus,
    // so the row takes it first.
    function leaveToPointer() {
        if (pointerInUse)
            return;
        if (activeFocus && currentItem)
            currentItem.forceActiveFocus(Qt.MouseFocusReason);
        pointerInUse = true;
    }

    // When the list shows other things than before.
    function showTop() {
        currentIndex = count > 0 ? 0 : -1;
        positionViewAtBeginning();
    }

    function moveTo(row: int) {
        currentIndex = Math.max(0, Math.min(row, count - 1));
        positionViewAtIndex(currentIndex, ListView.Contain);
    }

    // Changes the current row if the key is one that does, and tells whether it is.
    function moveByKey(key: int): bool {
        const page = currentItem ? Math.max(1, Math.floor(height / currentItem.height) - 1) : 1;
        const steps = {
            [Qt.Key_Up]: -1,
            [Qt.Key_Down]: 1,
            [Qt.Key_PageUp]: -page,
            [Qt.Key_PageDown]: page,
            [Qt.Key_Home]: -count,
            [Qt.Key_End]: count
        };
        if (count === 0 || !(key in steps))
            return false;
        moveTo(currentIndex + steps[key]);
        return true;
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    highlightFollowsCurrentItem: false
    keyNavigationEnabled: false
    reuseItems: true
    activeFocusOnTab: false

    Accessible.role: Accessible.List

    Keys.onPressed: event => {
        root.pointerInUse = false;
        event.accepted = root.moveByKey(event.key);
    }
    // The Tab key that moves the focus into the list is pressed elsewhere and released here.
    Keys.onReleased: event => {
        if (event.key === Qt.Key_Tab || event.key === Qt.Key_Backtab)
            root.pointerInUse = false;
    }
    onShowsCurrentChanged: {
        if (showsCurrent && count > 0)
            positionViewAtIndex(currentIndex, ListView.Contain);
    }

    HoverHandler {
        property point place

        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        // This also changes when rows move under a resting pointer; only real movement counts.
        onPointChanged: {
            if (!hovered || point.scenePosition === place)
                return;
            place = point.scenePosition;
            root.leaveToPointer();
        }
    }

    T.ScrollBar.vertical: VerticalScrollBar { }
}
