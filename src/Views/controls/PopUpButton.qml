pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.impl
import Tessivo

// Shows which one of some choices is in effect, and lets another one be picked from a menu. It
// does not keep its value: the face follows whoever owns it.
PlainButton {
    id: root

    required property list<string> choices
    required property int chosen

    readonly property string choice: choices[chosen] ?? ""

    signal picked(index: int)

    // The room for every choice, so that nothing moves when it changes.
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
    Accessible.description: choice

    FontMetrics {
        id: metrics

        font: value.font
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: Theme.buttonFace
    }

    Text {
        id: name

        x: Theme.popUpPadding
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

    IconImage {
        anchors.right: parent.right
        anchors.rightMargin: Theme.popUpPadding
        anchors.verticalCenter: parent.verticalCenter
        source: Theme.icon("chevron.down")
        color: Theme.secondaryText
        sourceSize.width: Theme.popUpChevronSize
        sourceSize.height: Theme.popUpChevronSize
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
