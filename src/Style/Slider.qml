import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// A value between two limits, set by pointer, wheel, keys or screen reader.
T.Slider {
    id: root

    required property string name

    implicitHeight: Theme.sliderKnob
    stepSize: (to - from) / 20
    focusPolicy: Qt.TabFocus
    wheelEnabled: true

    Accessible.role: Accessible.Slider
    Accessible.name: name

    background: Rectangle {
        x: root.leftPadding
        y: (root.height - height) / 2
        width: root.availableWidth
        height: Theme.sliderGroove
        radius: height / 2
        color: Theme.separator

        Rectangle {
            anchors.left: parent.left
            width: root.position * (parent.width - root.handle.width) + root.handle.width / 2
            height: parent.height
            radius: height / 2
            color: Theme.accent
        }
    }

    handle: Rectangle {
        x: root.leftPadding + root.visualPosition * (root.availableWidth - width)
        y: (root.height - height) / 2
        width: Theme.sliderKnob
        height: Theme.sliderKnob
        radius: width / 2
        color: root.pressed ? Qt.darker(Theme.knob, 1.1) : Theme.knob
        border.color: root.activeFocus ? Theme.focusRing : Theme.knobBorder
        border.width: root.activeFocus ? Theme.focusRingWidth : 1
    }
}
