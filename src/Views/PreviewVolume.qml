import QtQuick
import QtQuick.Controls.impl
import Tessivo

// How loud previews are.
Row {
    id: root

    required property LoopLibraryViewModel viewModel

    readonly property real volume: viewModel.previewEngine.previewVolume

    spacing: Theme.panelSpacing

    IconImage {
        anchors.verticalCenter: parent.verticalCenter
        source: Theme.icon("speaker.wave.1")
        color: Theme.secondaryText
        sourceSize.width: Theme.captionIconSize
        sourceSize.height: Theme.captionIconSize
    }

    // Assistive technology writes the value itself.
    Slider {
        anchors.verticalCenter: parent.verticalCenter
        width: Theme.volumeSliderWidth
        name: "Preview volume"
        from: 0
        to: 1
        value: root.volume
        onValueChanged: if (Math.fround(value) !== root.volume) root.viewModel.setPreviewVolume(value)
    }

    Text {
        anchors.verticalCenter: parent.verticalCenter
        text: "Preview"
        font: Theme.caption
        color: Theme.secondaryText
    }
}
