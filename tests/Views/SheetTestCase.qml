import QtQuick
import Tessivo
import TessivoTest

// What the cases of the sheets need: the real main window, and the parts of the sheet over it.
ViewTestCase {
    id: root

    property ContentView window: null
    // The sheet under test.
    property Window sheet: null

    readonly property Component contentView: Component {
        ContentView {
            viewModels: Machine.viewModels
        }
    }

    function makeWindow() {
        window = createTemporaryObject(contentView, null) as ContentView;
    }
    function activate(which: Window) {
        which.requestActivate();
        tryVerify(() => takesKeys(which));
    }
    // A sheet counts as active while the window behind it still has the keys.
    function takesKeys(which: Window): bool {
        return which !== null && which.activeFocusItem !== null;
    }
    function item(name: string, within = sheet): Item {
        return find(within.contentItem.parent, name);
    }
    function shown(name: string, within = sheet): bool {
        const found = item(name, within);
        return found !== null && found.visible;
    }
    // Clicks where an item that has just come into sight will be.
    function click(target: Item) {
        for (let part = target; part; part = part.parent)
            tryVerify(() => !isPolishScheduled(part));
        mouseClick(target);
    }
    function type(text: string) {
        for (const letter of text)
            keyClick(letter);
    }
    function alertSays(message: string): bool {
        return shown("Error") && shown(message) && item("OK").activeFocus;
    }
}
