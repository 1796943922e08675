import QtQuick
import Tessivo
import TessivoTest

Item {
    id: scene
    width: 400
    height: 200

    property var calls: []

    DrivenLoopState {
        id: state
    }

    TransportControlsView {
        id: controls
        loopState: state
        buttonSize: 60
        keysEnabled: true
        onRecord: scene.calls.push("record")
        onPlay: scene.calls.push("play")
        onStop: scene.calls.push("stop")
        onClear: scene.calls.push("clear")
    }

    ViewTestCase {
        name: "TransportControlsView"

        function init() {
            controls.keysEnabled = true;
            controls.forceActiveFocus();
            state.stop(false);
            scene.calls = [];
        }

        readonly property var enter: ({
            stopped: () => state.stop(false),
            paused: () => state.stop(true),
            recording: () => state.record(),
            playing: () => state.play()
        })

        function button(name) {
            return find(controls, name);
        }

        function test_only_what_is_available_answers_a_click_data() {
            return [["stopped", "record"], ["recording", "record", "stop"], ["playing", "play", "stop"],
                ["paused", "record", "play", "clear"]].map(
                    ([state, ...answers]) => ({ tag: state, answers: answers }));
        }
        function test_only_what_is_available_answers_a_click(data) {
            enter[data.tag]();
            for (const name of ["Record", "Play", "Stop", "Clear"])
                mouseClick(button(name));
            compare(scene.calls, data.answers);
        }

        function test_colours_change_gradually() {
            const face = Array.from(button("Stop").children).find(child => child.radius === 30);
            const before = String(face.color);
            state.record();
            compare(String(face.color), before);
            tryVerify(() => String(face.color) !== before);
        }

        function test_keys_follow_the_state_data() {
            const keys = [["Return", Qt.Key_Return], ["Enter", Qt.Key_Enter, Qt.KeypadModifier],
                ["Space", Qt.Key_Space], [".", Qt.Key_Period], ["P", Qt.Key_P],
                ["Ctrl+Backspace", Qt.Key_Backspace, Qt.ControlModifier],
                ["Ctrl+Delete", Qt.Key_Delete, Qt.ControlModifier],
                ["Backspace", Qt.Key_Backspace], ["Ctrl+Space", Qt.Key_Space, Qt.ControlModifier]];
            const answers = {
                stopped: ["record", "record", "", "", "", "", "", "", ""],
                recording: ["record", "record", "stop", "", "", "", "", "", ""],
                playing: ["", "", "play", "stop", "", "", "", "", ""],
                paused: ["record", "record", "play", "", "", "clear", "clear", "", ""]
            };
            const rows = [];
            for (const state in answers)
                keys.forEach((key, i) => rows.push({ tag: state + " " + key[0], state: state,
                    key: key[1], modifiers: key[2] ?? Qt.NoModifier, answer: answers[state][i] }));
            return rows;
        }
        function test_keys_follow_the_state(data) {
            enter[data.state]();
            keyClick(data.key, data.modifiers);
            compare(scene.calls, data.answer ? [data.answer] : []);
            controls.keysEnabled = false;
            keyClick(data.key, data.modifiers);
            compare(scene.calls, data.answer ? [data.answer] : [], "while a sheet is open");
        }

        // The state moves Space to another button while it is still down.
        function test_a_held_key_counts_once() {
            state.record();
            const react = () => state.stop(true);
            controls.stop.connect(react);
            Machine.hold(controls.Window.window, Qt.Key_Space, 5);
            controls.stop.disconnect(react);
            compare(scene.calls, ["stop"]);
            Machine.hold(controls.Window.window, Qt.Key_Space, 0);
            compare(scene.calls, ["stop", "play"]);
        }

        function test_the_tab_key_gives_space_and_return_away() {
            state.stop(true);
            keyClick(Qt.Key_Tab);
            verify(button("Record").activeFocus);
            Machine.hold(controls.Window.window, Qt.Key_Space, 3);
            compare(scene.calls, ["record"]);
            keyClick(Qt.Key_Tab);
            verify(button("Play").activeFocus);
            keyClick(Qt.Key_Return);
            keyClick(Qt.Key_Enter, Qt.KeypadModifier);
            compare(scene.calls, ["record", "play", "play"]);
            keyClick(Qt.Key_Delete, Qt.ControlModifier);
            compare(scene.calls.pop(), "clear");
            // A button that can no longer be used cannot keep the keys.
            state.record();
            verify(!button("Play").activeFocus);
            scene.calls = [];
            keyClick(Qt.Key_Space);
            compare(scene.calls, ["stop"]);
        }

        function test_a_screen_reader_reads_and_presses() {
            compare(Machine.doAllActions(button("Record")), ["Press"]);
            compare(scene.calls, ["record"]);
            Machine.doAllActions(button("Clear"));
            compare(scene.calls, ["record"], "a disabled button stays disabled");
            const keys = { Record: "Return", Play: "Space", Stop: "Space", Clear: "Cmd+Delete" };
            for (const name in keys) {
                compare(button(name).Accessible.description,
                    `${name} [${keys[name]}]` + (button(name).enabled ? "" : ", unavailable"));
                compare(button(name).Accessible.role, Accessible.Button);
            }
        }
    }
}
