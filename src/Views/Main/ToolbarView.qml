import QtQuick
import Tessivo
import Tessivo.Style

// The commands other than transport commands, at the right end of the window's top.
Item {
    id: root

    required property SimpleLoopState loopState
    // False while a sheet in front of the window has the keyboard focus.
    required property bool keysEnabled

    signal save()
    signal showLibrary()
    signal showFolderOfTakes()
    signal showMIDISettings()

    implicitWidth: items.implicitWidth + 2 * Theme.toolbarMargin
    implicitHeight: items.implicitHeight + 2 * Theme.toolbarMargin

    Row {
        id: items

        anchors.right: parent.right
        anchors.rightMargin: Theme.toolbarMargin
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.toolbarSpacing

        Row {
            ToolbarButton {
                name: qsTr("Save")
                symbol: "square.and.arrow.down"
                toolTip: qsTr("Save [Ctrl+S]")
                available: root.loopState.canSave
                keys: ["Ctrl+S"]
                keysEnabled: root.keysEnabled
                onTriggered: root.save()
            }

            ToolbarButton {
                id: library

                name: qsTr("Library")
                symbol: "folder.fill"
                toolTip: qsTr("Library [Ctrl+O]")
                available: root.loopState.transportState === TransportStates.stopped
                keys: ["Ctrl+O"]
                keysEnabled: root.keysEnabled
                onTriggered: root.showLibrary()

                Keys.onPressed: event => {
                    event.accepted = event.key === Qt.Key_Menu
                        || (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier);
                    if (event.accepted)
                        menu.openAt(library, Qt.point(0, library.height), 0);
                }

                // Not while a take is recorded, like the button itself.
                TapHandler {
                    acceptedButtons: Qt.RightButton
                    onTapped: menu.openAt(library, point.position, -1)
                }
            }
        }

        ToolbarButton {
            name: qsTr("MIDI Settings")
            symbol: "gearshape"
            toolTip: qsTr("MIDI Settings")
            available: true
            keys: []
            keysEnabled: root.keysEnabled
            onTriggered: root.showMIDISettings()
        }
    }

    ContextMenu {
        id: menu

        ContextMenuItem {
            text: qsTr("Open Folder of Takes")
            onTriggered: root.showFolderOfTakes()
        }
    }
}
