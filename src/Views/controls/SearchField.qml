import QtQuick
import QtQuick.Controls.impl
import QtQuick.Templates as T
import Tessivo

// A line of text to search for, and a button that empties it.
Rectangle {
    id: root

    property string placeholderText: ""
    property alias text: field.text

    // Asks for what is found: the keyboard goes there.
    signal leftDownwards()

    function begin(reason: int) {
        field.forceActiveFocus(reason);
        field.selectAll();
    }

    // Goes on with what was typed elsewhere.
    function append(typed: string) {
        field.forceActiveFocus(Qt.ShortcutFocusReason);
        field.insert(field.length, typed);
    }

    implicitHeight: field.implicitHeight + 2 * Theme.searchVerticalPadding
    radius: Theme.panelRadius
    color: Qt.alpha(Theme.gray, Theme.panelTint)
    border.color: Theme.focusRing
    border.width: field.activeFocus ? Theme.focusRingWidth : 0

    IconImage {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.searchHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        source: Theme.icon("magnifyingglass")
        color: Theme.secondaryText
        sourceSize.width: Theme.captionIconSize
        sourceSize.height: Theme.captionIconSize
    }

    T.TextField {
        id: field

        anchors.left: icon.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.right: clear.visible ? clear.left : parent.right
        anchors.rightMargin: clear.visible ? Theme.iconLabelSpacing
                                           : Theme.searchHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        implicitHeight: contentHeight
        clip: true
        font: Theme.body
        color: Theme.primaryText
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentText
        placeholderText: root.placeholderText
        placeholderTextColor: Theme.secondaryText
        verticalAlignment: TextInput.AlignVCenter
        activeFocusOnTab: true
        onAccepted: root.leftDownwards()
        Keys.onDownPressed: root.leftDownwards()

        Accessible.role: Accessible.EditableText
        Accessible.name: root.placeholderText
        Accessible.searchEdit: true

        PlaceholderText {
            anchors.fill: parent
            text: field.placeholderText
            font: field.font
            color: field.placeholderTextColor
            verticalAlignment: field.verticalAlignment
            elide: Text.ElideRight
            visible: field.length === 0 && field.preeditText === ""
        }
    }

    IconButton {
        id: clear

        anchors.right: parent.right
        anchors.rightMargin: Theme.searchHorizontalPadding - (width - iconSize) / 2
        anchors.verticalCenter: parent.verticalCenter
        visible: field.length > 0
        text: "Clear search"
        symbol: "xmark.circle.fill"
        color: Theme.secondaryText
        onTriggered: {
            field.clear();
            field.forceActiveFocus(Qt.OtherFocusReason);
        }
    }
}
