pragma ComponentBehavior: Bound
pragma ListPropertyAssignBehavior: Replace
import QtQuick
import QtQuick.Templates as T
import Tessivo

// Tells or asks the user something in front of a sheet, which waits for the answer. Whatever the
// answer is, the alert closes; Escape closes it without one.
T.Popup {
    id: root

    required property string title
    required property string message
    // Its buttons, from left to right. Where there is a way to leave everything as it is, Return
    // takes that one, and otherwise the first.
    property list<AlertAction> actions: [
        AlertAction {
            text: "OK"
        }
    ]

    function preferredButton(): Item {
        const all = Array.from(actions);
        const cancel = all.findIndex(action => action.role === AlertAction.Cancel);
        return buttons.itemAt(Math.max(cancel, 0));
    }

    anchors.centerIn: parent
    // Never without any width, not even before there is a window: a message that was once laid
    // out in one would stay on its one line.
    width: Math.min(Theme.alertWidth, parent?.width > 0 ? parent.width - 2 * margins : Infinity)
    height: Math.min(implicitHeight, parent ? parent.height - 2 * margins : 0)
    implicitHeight: heading.implicitHeight + words.implicitHeight + row.implicitHeight
        + 2 * Theme.alertSpacing + topPadding + bottomPadding
    margins: Theme.alertMargin
    padding: Theme.alertPadding
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    onOpened: preferredButton().forceActiveFocus(Qt.PopupFocusReason)

    T.Overlay.modal: Rectangle {
        color: Theme.dimming
    }

    background: Rectangle {
        radius: Theme.badgeRadius
        color: Theme.controlBackground
        border.color: Theme.outline
    }

    Shortcut {
        sequences: ["Ctrl+Escape"]
        enabled: root.visible
        autoRepeat: false
        onActivated: root.close()
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
        anchors.bottom: row.top
        anchors.bottomMargin: Theme.alertSpacing
        width: root.availableWidth
        text: root.message
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        color: Theme.primaryText

        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    Row {
        id: row

        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.pushButtonSpacing

        Repeater {
            id: buttons

            model: root.actions

            PushButton {
                required property AlertAction modelData

                text: modelData.text
                prominent: root.actions.length === 1
                tint: modelData.role === AlertAction.Destructive ? Theme.red : Theme.primaryText
                onTriggered: {
                    modelData.triggered();
                    root.close();
                }
            }
        }
    }
}
