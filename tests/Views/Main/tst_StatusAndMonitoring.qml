import QtQuick
import QtTest
import Tessivo
import Tessivo.Style
import TessivoTest

Item {
    id: scene
    width: 400
    height: 200

    property int calls: 0

    DrivenLoopState {
        id: state
    }

    StatusView {
        id: status
        loopState: state
    }

    InputMonitoringToggleView {
        id: monitoring
        y: 100
        isMonitoringEnabled: false
        onToggleMonitoring: ++scene.calls
    }

    SignalSpy {
        id: appearances
        signalName: "visibleChanged"
    }

    ViewTestCase {
        name: "StatusAndMonitoring"

        function init() {
            scene.calls = 0;
        }

        function test_status() {
            const rows = [
                [() => state.stop(false), "Press Record", Theme.primaryText, Theme.gray],
                [() => state.record(), "Recording...", Theme.red, Theme.red],
                [() => state.play(), "Playing Loop", Theme.green, Theme.green],
                [() => state.stop(true), "Paused", Theme.primaryText, Theme.gray]
            ];
            for (const [enter, text, colour, background] of rows) {
                enter();
                const label = find(status, text);
                verify(label, text);
                appearances.target = label;
                verify(Qt.colorEqual(label.color, colour), text);
                verify(Qt.colorEqual(status.color, Qt.alpha(background, 0.2)), text);
            }
            appearances.clear();
            state.record();
            compare(appearances.count, 2, "a screen reader says it");
            verify(find(status, "Recording...").visible);
        }

        // The view asks and never decides: what it shows stays until its owner changes it.
        function test_one_call_for_one_click() {
            const toggle = find(monitoring, "Input Monitor");
            compare(toggle.Accessible.role, Accessible.CheckBox);
            for (const on of [false, true]) {
                monitoring.isMonitoringEnabled = on;
                mouseClick(toggle, 2, toggle.height / 2);
                compare([scene.calls, toggle.Accessible.checked], [on ? 2 : 1, on]);
            }
            toggle.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            compare(scene.calls, 3);
            const actions = Machine.doAllActions(toggle);
            verify(actions.length > 0);
            compare(scene.calls, 3 + actions.length, "once for each of " + actions);
        }

        function test_the_icon_tells_the_value() {
            monitoring.isMonitoringEnabled = false;
            const off = grabImage(monitoring);
            monitoring.isMonitoringEnabled = true;
            const on = grabImage(monitoring);
            verify(!on.equals(off));
            const dots = Array.from({ length: 20 * 16 }, (_, i) => on.pixel(i % 20, i / 20));
            const reds = dots.filter(dot => Qt.colorEqual(dot, Theme.red)).length;
            verify(reds > 30, "a speaker in red, not " + reds + " dots");
        }
    }
}
