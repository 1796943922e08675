import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// A column that is scrolled when it does not fit. An item that gets the focus by the Tab key is
// scrolled into sight.
Flickable {
    id: root

    property real padding: 0
    property alias spacing: column.spacing
    default property alias content: column.data

    readonly property Item focused: Window.activeFocusItem

    function scrollTo(y: real) {
        contentY = Math.max(0, Math.min(y, contentHeight - height));
    }

    // Scrolls if the key is one that scrolls, and tells whether it is.
    function scrollByKey(key: int): bool {
        const targets = {
            [Qt.Key_Up]: contentY - Theme.scrollStep,
            [Qt.Key_Down]: contentY + Theme.scrollStep,
            [Qt.Key_PageUp]: contentY - height + Theme.scrollStep,
            [Qt.Key_PageDown]: contentY + height - Theme.scrollStep,
            [Qt.Key_Home]: 0,
            [Qt.Key_End]: contentHeight
        };
        if (!(key in targets))
            return false;
        scrollTo(targets[key]);
        return true;
    }

    function contains(item: Item): bool {
        for (let parent = item; parent; parent = parent.parent) {
            if (parent === column)
                return true;
        }
        return false;
    }

    contentHeight: column.implicitHeight + 2 * padding
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    onFocusedChanged: {
        if (!contains(focused))
            return;
        const top = focused.mapToItem(contentItem, 0, 0).y - padding;
        const bottom = top + focused.height + 2 * padding;
        if (top < contentY || bottom > contentY + height)
            scrollTo(top < contentY ? top : bottom - height);
    }

    T.ScrollBar.vertical: VerticalScrollBar { }

    Column {
        id: column

        x: root.padding
        y: root.padding
        width: root.width - 2 * root.padding
    }
}
