import QtQuick
import Tessivo
import Tessivo.Style

// One loop of the library. Its buttons show while the pointer is over the row or the row has the
// keyboard focus.
Rectangle {
    id: root

    required property savedLoop loop
    required property string durationText
    required property string fileSizeText
    required property string createdText
    required property bool isCurrentlyPreviewing
    // This row has the keyboard focus.
    required property bool isChosen
    // False for a moment after something in front of the list was closed by Return.
    required property bool returnLoads

    property bool isHovered: pointer.hovered

    signal load()
    signal preview(isPreviewing: bool)
    signal rename()
    signal exportLoop()
    signal deleteLoop()
    signal picked(byTouch: bool)
    signal menuRequested(place: point, byKeyboard: bool)
    // The pointer takes the row along; it still does for as long as isDragged holds.
    signal dragBegun()

    readonly property bool isDragged: dragging.active

    // Does what the key stands for, and tells whether it stands for anything.
    function handleKey(event: KeyEvent): bool {
        const plain = (event.modifiers & ~Qt.KeypadModifier) === Qt.NoModifier;
        const withShift = event.modifiers === Qt.ShiftModifier;
        if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && withShift))
            menuRequested(Qt.point(Theme.rowHorizontalPadding, height), true);
        else if (!plain)
            return false;
        else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            loadByKey();
        else if (event.key === Qt.Key_Space)
            preview(isCurrentlyPreviewing);
        else if (event.key === Qt.Key_F2)
            rename();
        else if (event.key === Qt.Key_Delete)
            deleteLoop();
        else
            return false;
        return true;
    }

    function loadByKey() {
        if (returnLoads)
            load();
    }

    implicitHeight: Math.max(texts.implicitHeight, actions.implicitHeight, Theme.rowIconFrame)
        + 2 * Theme.rowVerticalPadding
    radius: Theme.rowRadius
    color: isHovered ? Qt.alpha(Theme.gray, Theme.panelTint) : "transparent"
    border.color: Theme.focusRing
    border.width: isChosen && activeFocus ? Theme.focusRingWidth : 0

    Keys.onPressed: event => {
        // A held key goes on to the list, where it moves the current row, but repeats no command.
        if (!event.isAutoRepeat)
            event.accepted = root.handleKey(event);
    }

    Accessible.role: Accessible.ListItem
    Accessible.name: loop.name
    Accessible.description: durationText + ", " + fileSizeText + ", " + createdText
        + (isCurrentlyPreviewing ? ", " + qsTr("previewing") : "")
    Accessible.focusable: true
    Accessible.onPressAction: root.load()

    Behavior on color {
        ColorAnimation {
            duration: Theme.stateAnimation
            easing.type: Easing.InOutQuad
        }
    }

    HoverHandler {
        id: pointer
    }

    TapHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        acceptedButtons: Qt.RightButton
        onTapped: root.menuRequested(point.position, false)
    }

    TapHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onTapped: root.picked(false)
    }

    // A finger moves the list instead.
    DragHandler {
        id: dragging

        target: null
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onActiveChanged: if (active) root.dragBegun()
    }

    // A finger cannot hover: a tap shows the buttons, and a long press opens the menu.
    TapHandler {
        acceptedDevices: PointerDevice.TouchScreen | PointerDevice.Stylus
        onTapped: root.picked(true)
        onLongPressed: root.menuRequested(point.position, false)
    }

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.rowHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        width: Theme.rowIconFrame
        height: Theme.rowIconFrame
        fillMode: Image.Pad
        symbol: "waveform"
        color: Theme.blue
        size: Theme.rowIconSize
    }

    LoopRowTexts {
        id: texts

        anchors.left: icon.right
        anchors.leftMargin: Theme.rowSpacing
        anchors.right: actions.left
        anchors.rightMargin: Theme.rowSpacing
        anchors.verticalCenter: parent.verticalCenter
        name: root.loop.name
        details: [root.durationText, "•", root.fileSizeText, "•", root.createdText]
    }

    LoopRowActions {
        id: actions

        anchors.right: parent.right
        anchors.rightMargin: Theme.rowHorizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        loopName: root.loop.name
        isCurrentlyPreviewing: root.isCurrentlyPreviewing
        isWanted: root.isHovered || root.isChosen
        isInTabOrder: root.isChosen
        onLoad: root.load()
        onPreview: root.preview(root.isCurrentlyPreviewing)
        onExportLoop: root.exportLoop()
        onRename: root.rename()
        onDeleteLoop: root.deleteLoop()
    }
}
