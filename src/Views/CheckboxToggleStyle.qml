import QtQuick
import QtQuick.Controls.impl

// A switch drawn as a speaker that is on or struck through. It does not keep its value: a click
// asks for the other one, and the face follows whoever owns the value.
PlainButton {
    id: root

    required property bool isOn

    implicitWidth: face.implicitWidth
    implicitHeight: face.implicitHeight

    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onToggleAction: root.assist()

    Row {
        id: face

        spacing: Theme.iconLabelSpacing

        IconImage {
            anchors.verticalCenter: parent.verticalCenter
            width: Theme.toggleIconWidth
            height: Theme.toggleIconHeight
            source: Theme.icon(root.isOn ? "speaker.wave.2.fill" : "speaker.slash.fill")
            sourceSize.width: Theme.toggleIconWidth
            sourceSize.height: Theme.toggleIconHeight
            color: Theme.red
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            font: Theme.caption
            color: Theme.primaryText
        }
    }
}
