import QtQuick
import QtQuick.Templates as T
import Tessivo

// A list of rows, one of which is the current one, which the keys move. Rows exist only while
// they are in sight.
ListView {
    id: root

    // Whoever works with the pointer is not shown which row the keys would work on.
    property bool pointerInUse: false
    readonly property bool showsCurrent: activeFocus && !pointerInUse

    function begin() {
        pointerInUse = false;
        forceActiveFocus(Qt.TabFocusReason);
    }

    // What shows only for the keyboard goes, and does not take the focus with it.
    function leaveToPointer() {
        if (pointerInUse)
            return;
        if (activeFocus && currentItem)
            currentItem.forceActiveFocus(Qt.MouseFocusReason);
        pointerInUse = true;
    }

    // For a list that has become another one.
    function showTop() {
        currentIndex = count > 0 ? 0 : -1;
        positionViewAtBeginning();
    }

    function moveTo(row: int) {
        currentIndex = Math.max(0, Math.min(row, count - 1));
        positionViewAtIndex(currentIndex, ListView.Contain);
    }

    function moves(key: int): bool {
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
        event.accepted = root.moves(event.key);
    }
    // Whoever comes by the Tab key lets it go here.
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
        // Rows that move under a resting pointer are no reason.
        onPointChanged: {
            if (!hovered || point.scenePosition === place)
                return;
            place = point.scenePosition;
            root.leaveToPointer();
        }
    }

    T.ScrollBar.vertical: VerticalScrollBar { }
}
