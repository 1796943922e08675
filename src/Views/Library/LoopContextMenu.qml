import QtQuick
import Tessivo
import Tessivo.Style

// The commands for the loop of one row. The menu keeps the loop, because the row may show another
// one while the menu is open.
ContextMenu {
    id: root

    property savedLoop loop
    property bool isPreviewing: false

    signal load(loop: savedLoop)
    signal preview(loop: savedLoop, isPreviewing: bool)
    signal rename(loop: savedLoop)
    signal exportLoop(loop: savedLoop)
    signal deleteLoop(loop: savedLoop)

    function openFor(row: LoopRowView, place: point, byKeyboard: bool) {
        loop = row.loop;
        isPreviewing = row.isCurrentlyPreviewing;
        const list = row.ListView.view;
        openAt(list, row.mapToItem(list, place), byKeyboard ? 0 : -1);
    }

    ContextMenuItem {
        text: qsTr("Load")
        onTriggered: root.load(root.loop)
    }

    ContextMenuItem {
        text: root.isPreviewing ? qsTr("Stop Preview") : qsTr("Preview")
        onTriggered: root.preview(root.loop, root.isPreviewing)
    }

    ContextMenuSeparator { }

    ContextMenuItem {
        text: qsTr("Rename")
        onTriggered: root.rename(root.loop)
    }

    ContextMenuItem {
        text: qsTr("Export")
        onTriggered: root.exportLoop(root.loop)
    }

    ContextMenuSeparator { }

    ContextMenuItem {
        text: qsTr("Delete")
        tint: Theme.red
        onTriggered: root.deleteLoop(root.loop)
    }
}
