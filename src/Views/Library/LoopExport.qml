import QtQuick
import Tessivo
import Tessivo.Style

// Exports a loop: asks for the destination, copies the file, and shows the progress of a copy that
// takes long.
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
        const file = SaveLocations.hasNativePanel ? "NativeSavePanel.qml" : "SavePanel.qml";
        panel.setSource("../SavePanel/" + file, {
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
            SaveLocations.folder = SaveLocations.parentOf(destination);
            if (confirmed)
                exporter.exportLoop(root.loop, destination);
            else
                question.open();
        }
        function onDismissed() {
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

    // Short exports show no progress.
    Patience {
        id: patience

        isBusy: exporter.isExporting
    }

    ProgressOverlay {
        anchors.centerIn: parent
        visible: patience.isOver
        text: qsTr("Exporting...")
    }
}
