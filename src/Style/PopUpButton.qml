pragma ComponentBehavior: Bound
import QtQuick
import Tessivo.Style

// Shows the chosen one of some choices, and offers them all in a menu. It does not change its own
// value: its owner does, when another choice is picked.
PlainButton {
    id: root

    required property list<string> choices
    required property int chosen

    readonly property string choice: choices[chosen] ?? ""

    signal picked(index: int)

    description: choice

    // Wide enough for every choice, so that the size does not depend on the chosen one.
    implicitWidth: Math.ceil(name.implicitWidth + widestChoice()) + Theme.popUpChevronSize
        + 2 * (Theme.iconLabelSpacing + Theme.popUpPadding)
    implicitHeight: name.implicitHeight + 2 * Theme.fieldPadding
    onTriggered: menu.openAt(root, Qt.point(0, height + Theme.menuPadding),
        activeFocus ? chosen : -1)

    function widestChoice(): real {
        let widest = 0;
        for (const choice of choices)
            widest = Math.max(widest, metrics.advanceWidth(choice));
        return widest;
    }

    Accessible.role: Accessible.ButtonMenu

    FontMetrics {
        id: metrics

        font: value.font
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: Theme.buttonFace
        border.color: Theme.primaryText
        border.width: Theme.faceBorder
    }

    Text {
        id: name

        anchors.left: parent.left
        anchors.leftMargin: Theme.popUpPadding
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        font: Theme.caption
        color: Theme.secondaryText
    }

    Text {
        id: value

        anchors.left: name.right
        anchors.leftMargin: Theme.iconLabelSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.choice
        font: Theme.caption
        color: Theme.primaryText
    }

    Icon {
        anchors.right: parent.right
        anchors.rightMargin: Theme.popUpPadding
        anchors.verticalCenter: parent.verticalCenter
        symbol: "chevron.down"
        color: Theme.secondaryText
        size: Theme.popUpChevronSize
    }

    ContextMenu {
        id: menu

        Repeater {
            model: root.choices

            ContextMenuItem {
                required property int index
                required property string modelData

                text: modelData
                symbol: index === root.chosen ? "checkmark" : ""
                hasSymbolColumn: true
                onTriggered: root.picked(index)

                Accessible.checkable: true
                Accessible.checked: index === root.chosen
            }
        }
    }
}
