import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// A menu of commands, opened at a place in an item.
T.Menu {
    id: root

    // `chosen` is the command that is highlighted at first; -1 for none, as for a pointer.
    function openAt(item: Item, place: point, chosen: int) {
        let widest = Theme.menuMinimumWidth;
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i).implicitWidth);
        width = Math.ceil(widest) + 2 * padding;
        popup(item, place);
        currentIndex = chosen;
    }

    implicitHeight: contentItem.implicitHeight + 2 * padding
    padding: Theme.menuPadding
    margins: Theme.menuPadding
    modal: true
    cascade: false

    // No dimming: a menu need not be answered.
    T.Overlay.modal: Item { }

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        currentIndex: root.currentIndex
        interactive: contentHeight > height
        clip: true
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.controlBackground
        border.color: Theme.menuBorder
    }
}
