import QtQuick
import QtQuick.Templates as T
import Tessivo.Style

// One command of a menu.
T.MenuItem {
    id: root

    property color tint: Theme.primaryText
    property string symbol: ""
    // Leaves room for a symbol, so that the texts of a menu with symbols are aligned.
    property bool hasSymbolColumn: false

    readonly property real symbolColumn: hasSymbolColumn
        ? Theme.popUpChevronSize + Theme.iconLabelSpacing : 0
    readonly property color faceColor: highlighted ? Theme.accentText : tint

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.menuItemHorizontalPadding + (mirrored ? 0 : symbolColumn)
    rightPadding: Theme.menuItemHorizontalPadding + (mirrored ? symbolColumn : 0)
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
        horizontalAlignment: Text.AlignLeft
    }

    background: Rectangle {
        radius: Theme.menuPadding
        color: root.highlighted ? Theme.accent : "transparent"
    }

    Icon {
        anchors.left: parent.left
        anchors.leftMargin: Theme.menuItemHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: root.symbol !== ""
        symbol: root.symbol
        color: root.faceColor
        size: Theme.popUpChevronSize
    }
}
