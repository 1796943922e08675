pragma ComponentBehavior: Bound
import QtQuick
import Tessivo

// The rows of the library, and what their keys and menus do. What is typed over them and is no
// command of theirs goes to the search.
RowList {
    id: root

    required property LoopLibraryViewModel viewModel
    required property bool returnLoads

    readonly property string searchText: viewModel.searchText
    readonly property int sortOrder: viewModel.sortOrder

    signal load(loop: savedLoop)
    signal exportLoop(loop: savedLoop)
    signal typed(text: string)

    function types(event: KeyEvent): bool {
        const plain = (event.modifiers & ~(Qt.ShiftModifier | Qt.KeypadModifier)) === 0;
        if (!plain || event.text.trim() === "" || event.text < " " || event.text === "\x7f")
            return false;
        typed(event.text);
        return true;
    }

    function preview(loop: savedLoop, isPreviewing: bool) {
        if (isPreviewing)
            viewModel.stopPreview();
        else
            viewModel.previewLoop(loop);
    }

    model: viewModel.loops

    // What was searched for or ordered anew is another list, read from its top.
    onSearchTextChanged: showTop()
    onSortOrderChanged: showTop()

    Accessible.name: "Saved loops"

    Keys.onPressed: event => {
        if (!event.accepted)
            event.accepted = root.types(event);
    }

    delegate: LoopRowView {
        id: row

        required property int index
        required property bool isPreviewing

        // Unlike the attached property this one changes when the focus has gone on already.
        readonly property bool isCurrent: index === root.currentIndex

        width: ListView.view.width
        activeFocusOnTab: activeFocus || isCurrent
        isCurrentlyPreviewing: isPreviewing
        ListView.onPooled: visible = false
        ListView.onReused: visible = true
        isChosen: isCurrent && root.showsCurrent
        returnLoads: root.returnLoads
        onLoad: root.load(loop)
        onPreview: isPreviewing => root.preview(loop, isPreviewing)
        onRename: root.viewModel.renameLoop(loop)
        onExportLoop: root.exportLoop(loop)
        onDeleteLoop: root.viewModel.deleteLoop(loop)
        onPicked: byTouch => {
            // The finger that has asked for the menu leaves the row only now.
            if (menu.visible)
                return;
            root.currentIndex = index;
            row.forceActiveFocus(Qt.MouseFocusReason);
            root.pointerInUse = !byTouch;
        }
        onMenuRequested: (place, byKeyboard) => menu.openFor(row, place, byKeyboard)

        Rectangle {
            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.leftMargin: Theme.rowHorizontalPadding
            anchors.rightMargin: Theme.rowHorizontalPadding
            height: 1
            color: Theme.separator
        }
    }

    LoopContextMenu {
        id: menu

        onLoad: loop => root.load(loop)
        onPreview: (loop, isPreviewing) => root.preview(loop, isPreviewing)
        onRename: loop => root.viewModel.renameLoop(loop)
        onExportLoop: loop => root.exportLoop(loop)
        onDeleteLoop: loop => root.viewModel.deleteLoop(loop)
    }
}
