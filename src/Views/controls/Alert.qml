import QtQuick
import QtQuick.Templates as T
import Tessivo

// Tells the user something in front of a sheet, which waits until it is acknowledged.
T.Popup {
    id: root

    required property string title
    required property string message

    anchors.centerIn: parent
    width: Math.min(Theme.alertWidth, parent ? parent.width - 2 * margins : 0)
    height: Math.min(implicitHeight, parent ? parent.height - 2 * margins : 0)
    implicitHeight: heading.implicitHeight + words.implicitHeight + ok.implicitHeight
        + 2 * Theme.alertSpacing + topPadding + bottomPadding
    margins: Theme.alertMargin
    padding: Theme.alertPadding
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    onOpened: ok.forceActiveFocus(Qt.PopupFocusReason)

    T.Overlay.modal: Rectangle {
        color: Theme.dimming
    }

    background: Rectangle {
        radius: Theme.badgeRadius
        color: Theme.controlBackground
        border.color: Theme.outline
    }

    Text {
        id: heading

        anchors.horizontalCenter: parent.horizontalCenter
        text: root.title
        font: Theme.headline
        color: Theme.primaryText

        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.title
        Accessible.description: root.message
    }

    // A message may quote a path of any length.
    Text {
        id: words

        anchors.top: heading.bottom
        anchors.topMargin: Theme.alertSpacing
        anchors.bottom: ok.top
        anchors.bottomMargin: Theme.alertSpacing
        width: parent.width
        text: root.message
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        color: Theme.primaryText

        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    PushButton {
        id: ok

        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        text: "OK"
        prominent: true
        onTriggered: root.close()
    }
}
