import QtQuick
import Tessivo.Style

// A field for the text to search for, with a button that empties it.
Rectangle {
    id: root

    property alias text: field.text
    property alias placeholderText: field.placeholderText

    // Return or the Down key: the keyboard focus should move to the results.
    signal leftDownwards()

    function begin(reason: int) {
        field.forceActiveFocus(reason);
        field.selectAll();
    }

    // Takes the keyboard focus and a text that was typed elsewhere.
    function append(typed: string) {
        field.forceActiveFocus(Qt.ShortcutFocusReason);
        field.insert(field.length, typed);
    }

    implicitHeight: field.implicitHeight + 2 * Theme.searchVerticalPadding
    radius: Theme.panelRadius
    color: Qt.alpha(Theme.gray, Theme.panelTint)
    border.color: field.activeFocus ? Theme.focusRing : Theme.primaryText
    border.width: field.activeFocus ? Theme.focusRingWidth : Theme.faceBorder

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.searchHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        symbol: "magnifyingglass"
        color: Theme.secondaryText
        size: Theme.captionIconSize
    }

    LineField {
        id: field

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.right: clear.visible ? clear.left : parent.right
        anchors.rightMargin: clear.visible ? Theme.iconLabelSpacing
                                           : Theme.searchHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        padding: 0
        clip: true
        background: null
        onAccepted: root.leftDownwards()
        Keys.onDownPressed: root.leftDownwards()

        Accessible.role: Accessible.EditableText
        Accessible.name: placeholderText
        Accessible.searchEdit: true
    }

    IconButton {
        id: clear

        anchors.right: parent.right
        anchors.rightMargin: Theme.searchHorizontalPadding - (width - iconSize) / 2
        anchors.verticalCenter: parent.verticalCenter
        visible: field.length > 0
        text: qsTr("Clear search")
        symbol: "xmark.circle.fill"
        color: Theme.secondaryText
        onTriggered: {
            field.clear();
            field.forceActiveFocus(Qt.OtherFocusReason);
        }
    }
}
