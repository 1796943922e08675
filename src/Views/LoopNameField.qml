import QtQuick
import Tessivo

// Where the loop gets its name.
Column {
    id: root

    property alias text: field.text

    signal accepted()

    // Offers a name that the first typed letter replaces.
    function offer(name: string) {
        field.text = name;
        field.selectAll();
        field.forceActiveFocus(Qt.OtherFocusReason);
    }

    spacing: Theme.panelSpacing

    Text {
        id: label

        text: "Loop Name:"
        font: Theme.headline
        color: Theme.primaryText
    }

    LineField {
        id: field

        width: parent.width
        placeholderText: "Enter loop name"
        onAccepted: root.accepted()

        Accessible.role: Accessible.EditableText
        Accessible.name: label.text
    }
}
