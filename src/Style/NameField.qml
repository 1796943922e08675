import QtQuick
import Tessivo.Style

// A field for a name, with its label above it or, on the same line, before it.
Grid {
    id: root

    property string label: ""
    property bool labelBefore: false
    property alias text: field.text
    property alias placeholderText: field.placeholderText
    property alias accessibleName: field.accessibleName

    signal accepted()

    // Gives the field the keyboard focus and selects its text.
    function begin() {
        field.selectAll();
        field.forceActiveFocus(Qt.OtherFocusReason);
    }

    function offer(name: string) {
        field.text = name;
        begin();
    }

    columns: labelBefore ? 2 : 1
    spacing: Theme.panelSpacing
    verticalItemAlignment: Grid.AlignVCenter

    Text {
        id: caption

        visible: text !== ""
        width: root.labelBefore ? implicitWidth : root.width
        horizontalAlignment: Text.AlignLeft
        text: root.label
        font: Theme.headline
        color: Theme.primaryText
    }

    LineField {
        id: field

        property string accessibleName: root.label

        width: root.width - (root.labelBefore ? caption.width + root.spacing : 0)
        onAccepted: root.accepted()

        Accessible.role: Accessible.EditableText
        Accessible.name: accessibleName
    }
}
