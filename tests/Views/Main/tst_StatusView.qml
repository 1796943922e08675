import QtQuick
import QtTest
import Tessivo
import TessivoTest

Item {
    width: 400
    height: 100

    DrivenLoopState {
        id: state
    }

    StatusView {
        id: status
        loopState: state
    }

    SignalSpy {
        id: appearances
        signalName: "visibleChanged"
    }

    ViewTestCase {
        name: "StatusView"

        function test_a_screen_reader_says_the_status() {
            appearances.target = find(status, "Press Record");
            state.record();
            compare(appearances.count, 2);
            verify(find(status, "Recording...").visible);
        }
    }
}
