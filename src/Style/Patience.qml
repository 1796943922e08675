import QtQuick
import Tessivo.Style

// Tells when something has been in progress for so long that a person asks what is going on.
Timer {
    id: root

    required property bool isBusy
    readonly property bool isOver: isBusy && !running

    interval: Theme.progressDelay
    running: root.isBusy
}
