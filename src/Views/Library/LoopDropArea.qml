import QtQuick
import Tessivo.Style

// Where files of other programs can be dropped. While they hover over it, it shows so.
DropArea {
    id: root

    signal filesDropped(files: var)

    // Tells the other program whether its files are wanted. A loop of our own that is dragged out
    // is not. Whatever it proposes, they are copied: after a move it would delete its own.
    function answer(drag: var): bool {
        drag.accepted = drag.hasUrls && !drag.source;
        if (drag.accepted)
            drag.accept(Qt.CopyAction);
        return drag.accepted;
    }

    onEntered: drag => root.answer(drag)
    onPositionChanged: drag => root.answer(drag)
    onDropped: drop => {
        if (root.answer(drop))
            filesDropped(drop.urls);
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: Theme.focusRingGap
        visible: root.containsDrag
        radius: Theme.rowRadius
        color: Qt.alpha(Theme.accent, Theme.tint)
        border.color: Theme.accent
        border.width: Theme.focusRingWidth

        Accessible.role: Accessible.Pane
        Accessible.name: qsTr("Drop files to import them into the library")
    }
}
