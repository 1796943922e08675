pragma ComponentBehavior: Bound
import QtQuick
import Tessivo
import Tessivo.Style

// The list of loops, with the commands of its rows and menu. Text that is typed while the list has
// the keyboard focus goes to the search field.
RowList {
    id: root

    required property LoopLibraryViewModel viewModel
    required property bool returnLoads

    readonly property string searchText: viewModel.searchText
    readonly property int sortOrder: viewModel.sortOrder

    signal load(loop: savedLoop)
    signal exportLoop(loop: savedLoop)
    signal typed(text: string)

    // Hands on the text of the key if it has one, and tells whether it has.
    function passText(event: KeyEvent): bool {
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

    // A new search or order is read from the top.
    onSearchTextChanged: showTop()
    onSortOrderChanged: showTop()

    Accessible.name: qsTr("Saved loops")

    Keys.onPressed: event => {
        if (!event.accepted)
            event.accepted = root.passText(event);
    }

    delegate: LoopRowView {
        id: row

        required property int index
        required property bool isPreviewing

        // Not ListView.isCurrentItem, which changes before the focus has moved.
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
            // The finger whose long press opened the menu is lifted only now.
            if (menu.visible)
                return;
            root.currentIndex = index;
            row.forceActiveFocus(Qt.MouseFocusReason);
            root.pointerInUse = !byTouch;
        }
        onMenuRequested: (place, byKeyboard) => menu.openFor(row, place, byKeyboard)
        onDragBegun: parcel.dragOut(row)

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

    LoopParcel {
        id: parcel

        parent: root
        viewModel: root.viewModel
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
