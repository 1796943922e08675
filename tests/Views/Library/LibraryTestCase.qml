import QtQuick
import Tessivo
import TessivoTest

// What the cases of the library window need: its rows, as they are read and seen.
SheetTestCase {
    id: root

    readonly property LoopLibraryViewModel viewModel: sheet
        ? (sheet as LoopLibraryView).viewModel : null
    readonly property ListView list: sheet ? item("Saved loops") as ListView : null
    // What a row can do besides "Load", as its tool tips call it.
    readonly property var actions: ["Preview loop", "Stop preview", "Export loop", "Rename loop",
        "Delete loop"]

    // The rows in sight, from top to bottom.
    function rows(): var {
        return Array.from(list.contentItem.children).filter(row => row.visible
            && row.Accessible.role === Accessible.ListItem).sort((a, b) => a.y - b.y);
    }
    function names(): var {
        return rows().map(row => row.Accessible.name);
    }
    function lists(...expected) {
        return names().join("\u0000") === expected.join("\u0000");
    }
    function row(name: string): Item {
        return rows().find(row => row.Accessible.name === name) ?? null;
    }
    function open() {
        makeWindow();
        activate(window);
        sheet = Qt.binding(() => window.librarySheet);
        keyClick(Qt.Key_O, Qt.ControlModifier);
        tryVerify(() => takesKeys(sheet) && !viewModel.isLoading);
        waitForRendering(sheet.contentItem);
    }
    // What the row offers at this moment.
    function offered(row: Item): var {
        return actions.filter(name => {
            const button = find(row, name);
            return button && button.visible && button.parent.opacity > 0;
        });
    }
    function chosen(): var {
        return rows().filter(row => row.isChosen).map(row => row.Accessible.name);
    }
    function cleanup() {
        sheet = null;
        Disk.finish();
    }
}
