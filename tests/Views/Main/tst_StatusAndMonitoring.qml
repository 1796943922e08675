import QtQuick
import QtTest
import Tessivo
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

        function test_a_screen_reader_says_the_status() {
            state.stop(false);
            appearances.target = find(status, "Press Record");
            appearances.clear();
            state.record();
            compare(appearances.count, 2);
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
    }
}
