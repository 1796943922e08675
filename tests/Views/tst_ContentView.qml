import QtQuick
import QtTest
import Tessivo
import TessivoTest

Item {
    width: 100
    height: 100

    Component {
        id: maker
        ContentView { }
    }

    // The whole window with its real controller, on a machine without a sound server.
    ViewTestCase {
        name: "ContentView"

        function test_window() {
            const window = createTemporaryObject(maker, null);
            window.requestActivate();
            tryVerify(() => window.active);
            compare([window.width, window.height], [400, 500]);
            compare([window.maximumWidth, window.maximumHeight], [400, 500]);
            compare(window.minimumWidth, 380);
            const item = name => find(window.contentItem, name);
            verify(item("Press Record"));
            verify(item("Record").enabled);

            // Nothing overlaps in the smallest window either.
            window.height = window.minimumHeight;
            const toggle = item("Input Monitor");
            const product = item("Tessivo");
            tryVerify(() => product.y + product.height === window.minimumHeight - 40);
            verify(product.y >= toggle.mapToItem(null, 0, toggle.height).y + 60);

            keyClick(Qt.Key_Tab);
            verify(item("Record").activeFocus);
            for (const target of [product, item("Input Monitor")]) {
                item("Record").forceActiveFocus(Qt.TabFocusReason);
                mouseClick(target);
                verify(!item("Record").activeFocus, "a click takes the focus back");
            }
            tryCompare(window.loopState, "inputMonitoringEnabled", true, 5000, "and does its work");
            mouseMove(item("Stop"));
            tryVerify(() => shows(window.contentItem.parent, "Stop [Space]"), 3000);

            for (const flag of ["showingSaveDialog", "showingLoopLibrary"]) {
                window.loopState[flag] = true;
                verify(!item("Record").parent.keysEnabled);
                window.loopState[flag] = false;
                verify(item("Record").parent.keysEnabled);
            }
        }
    }
}
