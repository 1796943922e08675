import QtQuick
import Tessivo
import Tessivo.Style

// One quiet line that tells what is wrong or was noticed, in the middle of the space that it is
// given; nothing when all is well.
Item {
    id: root

    required property Notices notices

    visible: false

    Row {
        anchors.centerIn: parent
        spacing: Theme.iconLabelSpacing

        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            symbol: root.notices.icon
            color: Theme.secondaryText
            size: Theme.captionIconSize
        }

        Label {
            id: words

            readonly property real room: root.width - icon.width - parent.spacing
                - (button.visible ? button.width + parent.spacing : 0)

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, room)
            text: root.notices.text
            textFormat: Text.PlainText
            font: Theme.caption
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            // A screen reader says what appears, and not what changes.
            onTextChanged: {
                root.visible = false;
                root.visible = words.text !== "";
            }

            Accessible.role: Accessible.Notification
            Accessible.description: root.notices.detail

            HoverTip {
                text: words.truncated ? words.text : root.notices.detail
            }
        }

        PushButton {
            id: button

            anchors.verticalCenter: parent.verticalCenter
            visible: root.notices.button !== ""
            small: true
            text: root.notices.button
            onTriggered: root.notices.press()
            // The next notice's button must not take Space and Return from the transport keys.
            onVisibleChanged: if (!visible) focus = false
        }
    }
}
