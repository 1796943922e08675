import QtQuick
import Tessivo

// Where a file that is saved gets its name.
Item {
    id: root

    property alias text: field.text

    signal accepted()

    // Offers a name that the first typed letter replaces.
    function offer(name: string) {
        field.text = name;
        field.selectAll();
        field.forceActiveFocus(Qt.OtherFocusReason);
    }

    implicitHeight: field.implicitHeight

    Text {
        id: label

        anchors.verticalCenter: parent.verticalCenter
        text: "Save As:"
        font: Theme.headline
        color: Theme.primaryText
    }

    LineField {
        id: field

        anchors.left: label.right
        anchors.leftMargin: Theme.panelSpacing
        anchors.right: parent.right
        onAccepted: root.accepted()

        Accessible.role: Accessible.EditableText
        Accessible.name: label.text
    }
}
