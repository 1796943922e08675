import QtQuick
import Tessivo
import TessivoTest

// What the cases of the library window need: its parts, as they are read and seen.
ViewTestCase {
    id: root

    // The window under test.
    property LoopLibraryView sheet: null

    readonly property ListView list: sheet ? item("Saved loops") as ListView : null
    // What a row can do besides "Load", as its tool tips call it.
    readonly property var actions: ["Preview loop", "Stop preview", "Export loop", "Rename loop",
        "Delete loop"]

    function item(name: string): Item {
        return find(sheet.contentItem.parent, name);
    }
    function shown(name: string): bool {
        const found = item(name);
        return found !== null && found.visible;
    }
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
    // Where what has just come into sight will be.
    function click(target: Item) {
        for (let part = target; part; part = part.parent)
            tryVerify(() => !isPolishScheduled(part));
        mouseClick(target);
    }
    function row(name: string): Item {
        return rows().find(row => row.Accessible.name === name) ?? null;
    }
    function loaded() {
        tryVerify(() => sheet && sheet.active && !sheet.viewModel.isLoading);
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
    function type(text: string) {
        for (const letter of text)
            keyClick(letter);
    }
    function alertSays(message: string): bool {
        return shown("Error") && shown(message) && item("OK").activeFocus;
    }
}
