import QtQuick
import Tessivo
import Tessivo.Style

Row {
    id: root

    required property LoopLibraryViewModel viewModel

    readonly property real volume: viewModel.previewEngine.previewVolume

    spacing: Theme.panelSpacing

    Icon {
        anchors.verticalCenter: parent.verticalCenter
        symbol: "speaker.wave.1"
        color: Theme.secondaryText
        size: Theme.captionIconSize
    }

    // By valueChanged, because a screen reader writes the value and causes no other signal.
    Slider {
        anchors.verticalCenter: parent.verticalCenter
        width: Theme.volumeSliderWidth
        name: qsTr("Preview volume")
        from: 0
        to: 1
        value: root.volume
        onValueChanged: if (Math.fround(value) !== root.volume) root.viewModel.setPreviewVolume(value)
    }

    Text {
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("Preview")
        font: Theme.caption
        color: Theme.secondaryText
    }
}
