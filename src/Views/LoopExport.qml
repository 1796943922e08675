import QtQuick
import Tessivo

// Takes a loop out of the library: asks where to, and copies it there. A copy that takes long
// is seen to be going on.
Item {
    id: root

    required property Window window

    property savedLoop loop
    property url destination
    readonly property QtObject savePanel: panel.item
    readonly property bool isAsking: savePanel !== null || question.visible

    signal failed(message: string)

    function begin(loop: savedLoop) {
        if (panel.item)
            return;
        root.loop = loop;
        panel.setSource(SaveLocations.hasNativePanel ? "NativeSavePanel.qml" : "SavePanel.qml", {
            window: window,
            proposedName: SaveLocations.proposedName(loop.name)
        });
    }

    function cancel() {
        panel.source = "";
        question.close();
    }

    Loader {
        id: panel
    }

    Connections {
        target: panel.item

        function onChosen(destination: url, confirmed: bool) {
            panel.source = "";
            root.destination = destination;
            SaveLocations.folder = SaveLocations.above(destination);
            if (confirmed)
                exporter.exportLoop(root.loop, destination);
            else
                question.open();
        }
        function onCancelled() {
            panel.source = "";
        }
    }

    LoopExporter {
        id: exporter

        onFailed: message => root.failed(message)
    }

    ReplaceAlert {
        id: question

        fileName: SaveLocations.nameOf(root.destination)
        onConfirmed: exporter.exportLoop(root.loop, root.destination)
    }

    Timer {
        id: patience

        interval: Theme.progressDelay
        running: exporter.isExporting
    }

    ProgressOverlay {
        anchors.centerIn: parent
        visible: exporter.isExporting && !patience.running
        text: "Exporting..."
    }
}
