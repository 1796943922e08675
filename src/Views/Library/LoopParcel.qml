import QtQuick
import Tessivo
import Tessivo.Style

// Takes a loop's file out of the list to another program, and is what the pointer shows meanwhile.
// It is no part of the row, which may go or show another loop while it is on its way.
Rectangle {
    id: root

    required property LoopLibraryViewModel viewModel

    property string name: ""

    function dragOut(row: LoopRowView) {
        const uri = viewModel.uriOf(row.loop);
        if (uri === "")
            return;
        name = row.loop.name;
        // The pointer may have let go before the picture is there.
        grabToImage(picture => {
            if (!row.isDragged)
                return;
            root.Drag.mimeData = { "text/uri-list": uri };
            root.Drag.imageSource = picture.url;
            root.Drag.active = true; // returns when it has arrived
        });
    }

    visible: false
    // Known as soon as the name is: a row of items would take its size only with the next frame.
    width: icon.width + Theme.iconLabelSpacing + words.width + 2 * Theme.panelPadding
    height: Math.max(icon.height, words.height) + 2 * Theme.panelSpacing
    radius: Theme.rowRadius
    color: Theme.controlBackground
    border.color: Theme.menuBorder

    Drag.dragType: Drag.Automatic
    Drag.supportedActions: Qt.CopyAction
    Drag.hotSpot: Qt.point(Theme.panelPadding, height / 2)

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.panelPadding
        anchors.verticalCenter: parent.verticalCenter
        symbol: "waveform"
        color: Theme.blue
        size: Theme.rowIconSize
    }

    NameText {
        id: words

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, Theme.alertWidth)
        text: root.name.replace(/\s+/g, " ")
        font: Theme.headline
        color: Theme.primaryText
    }
}
