import QtQuick
import Tessivo.Style
import TessivoTest

// What is drawn, in every state of every window. Nothing moves, so that all is at its end.
WindowTestCase {
    name: "Pictures"

    readonly property var looks: ({
        light: () => { },
        dark: () => Machine.setAppearance("color-scheme", 1)
    })

    function looksAs(shown, name) {
        if (Pictures.renewing) {
            wait(200); // whatever may still come
            Pictures.renew(shown(), name);
            return;
        }
        let same = false;
        for (const end = Date.now() + 3000; !same && Date.now() < end; wait(10))
            same = Pictures.matches(shown(), name);
        verify(same, same ? "" : Pictures.keepDifference(name));
    }

    function test_pictures_data() {
        return Object.keys(states).map(state => ({ tag: state }));
    }
    function test_pictures(data) {
        Machine.setAppearance("reduced-motion", 1);
        const shown = open(data.tag);
        for (const look in looks) {
            looks[look]();
            looksAs(shown, `${data.tag}-${look}`);
        }
    }
}
