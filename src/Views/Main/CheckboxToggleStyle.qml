import QtQuick
import Tessivo.Style

// A switch drawn as a speaker that is on or struck through. It does not change its own value: its
// owner does, when it is triggered.
PlainButton {
    id: root

    required property bool isOn

    implicitWidth: face.implicitWidth
    implicitHeight: face.implicitHeight

    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onToggleAction: root.triggerByScreenReader()

    Row {
        id: face

        spacing: Theme.iconLabelSpacing

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            width: Theme.toggleIconWidth
            height: Theme.toggleIconHeight
            symbol: root.isOn ? "speaker.wave.2.fill" : "speaker.slash.fill"
            size: Theme.toggleIconWidth
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
