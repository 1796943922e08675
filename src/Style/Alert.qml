pragma ComponentBehavior: Bound
pragma ListPropertyAssignBehavior: Replace
import QtQuick
import QtQuick.Templates as T
import QtQuick.Templates as T
import Tessivo.Style

// Tells or asks the user something in front of a sheet. Every answer closes the alert; Escape
// closes it without an answer.
ModalPopup {
    id: root

    required property string title
    required property string message
    // The buttons, from left to right. Return triggers the one with the role Cancel, or the first
    // if there is none.
    property list<AlertAction> actions: [
        AlertAction {
            text: qsTr("OK")
        }
    ]

    function preferredButton(): Item {
        const all = Array.from(actions);
        const cancel = all.findIndex(action => action.role === AlertAction.Cancel);
        return buttons.itemAt(Math.max(cancel, 0));
    }

    // Never zero, not even before there is a window: a message that was laid out once with zero
    // width would stay on one line.
    width: Math.min(Theme.alertWidth, parent?.width > 0 ? parent.width - 2 * margins : Infinity)
    height: Math.min(implicitHeight, parent ? parent.height - 2 * margins : 0)
    implicitHeight: heading.implicitHeight + measured.implicitHeight + row.implicitHeight
        + 2 * Theme.alertSpacing + topPadding + bottomPadding
    padding: Theme.alertPadding
    closePolicy: T.Popup.CloseOnEscape
    onOpened: preferredButton().forceActiveFocus(Qt.PopupFocusReason)

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

    // The whole message, for its height: what an elided text needs depends on what it has.
    Text {
        id: measured

        visible: false
        width: words.width
        text: words.text
        textFormat: words.textFormat
        wrapMode: words.wrapMode
        font: words.font
    }

    // A message may quote a path of any length.
    Label {
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
