import QtQuick
import QtQuick.Controls.impl
import QtQuick.Templates as T
import Tessivo

// One command of a menu.
T.MenuItem {
    id: root

    property color tint: Theme.primaryText
    property string symbol: ""
    // The texts of a menu in which any item has a symbol begin at one place.
    property bool hasSymbolColumn: false

    readonly property color faceColor: highlighted ? Theme.accentText : tint

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.menuItemHorizontalPadding
        + (hasSymbolColumn ? Theme.popUpChevronSize + Theme.iconLabelSpacing : 0)
    rightPadding: Theme.menuItemHorizontalPadding
    topPadding: Theme.menuItemVerticalPadding
    bottomPadding: Theme.menuItemVerticalPadding
    font: Theme.body

    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: root.clicked()

    contentItem: Text {
        text: root.text
        font: root.font
        color: root.faceColor
    }

    background: Rectangle {
        radius: Theme.menuPadding
        color: root.highlighted ? Theme.accent : "transparent"
    }

    IconImage {
        x: Theme.menuItemHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: root.symbol !== ""
        source: visible ? Theme.icon(root.symbol) : ""
        color: root.faceColor
        sourceSize.width: Theme.popUpChevronSize
        sourceSize.height: Theme.popUpChevronSize
    }
}
