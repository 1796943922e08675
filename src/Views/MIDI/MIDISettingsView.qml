import QtQuick
import Tessivo
import Tessivo.Style

// The sheet that picks the MIDI device and maps notes to commands. Each showing is a new sheet,
// which begins with the manager's mapping. Return alone never saves: it belongs to the focused
// button.
Sheet {
    id: root

    required property MIDIManager midiManager

    property bool showingResetConfirmation: false

    function save() {
        settings.save();
        dismissed();
    }

    title: qsTr("MIDI Settings")
    color: Theme.windowBackground
    // Large system fonts may need more than the usual width, and a small screen may not have
    // the usual height; the content is scrolled when it does not fit.
    minimumWidth: Math.max(300, Math.ceil(Math.max(header.implicitWidth,
        mappings.neededWidth + 2 * Theme.sheetPadding)))
    maximumWidth: Math.max(minimumWidth, 400)
    minimumHeight: Math.min(600, Screen.desktopAvailableHeight - Theme.screenMargin)
    maximumHeight: 800
    width: Math.max(minimumWidth, 350)
    height: Math.max(minimumHeight, Math.min(650, Screen.desktopAvailableHeight - Theme.screenMargin))

    isCovered: alert.visible
    canAccept: true
    Component.onCompleted: settings.refresh()
    Component.onDestruction: midiManager.stopLearning()
    onAccepted: save()
    onClosing: dismissed()

    MIDISettings {
        id: settings

        midiManager: root.midiManager
    }

    Item {
        anchors.fill: parent
        focus: true
        Keys.onPressed: event => event.accepted = area.scrollByKey(event.key)

        SheetHeader {
            id: header

            anchors.left: parent.left
            anchors.right: parent.right
            title: root.title
            acceptText: qsTr("Save")
            onCancelled: root.dismissed()
            onAccepted: root.save()
        }

        Rectangle {
            anchors.fill: area
            color: Qt.alpha(Theme.controlBackground, Theme.scrollAreaOpacity)
        }

        ScrollArea {
            id: area

            anchors.top: header.bottom
            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            padding: Theme.sheetPadding
            spacing: Theme.sectionSpacing

            MIDIDeviceSection {
                width: parent.width
                settings: settings
            }

            MIDIMappingSection {
                id: mappings

                width: parent.width
                settings: settings
            }

            PushButton {
                anchors.horizontalCenter: parent.horizontalCenter
                text: qsTr("Reset to Defaults")
                tint: Theme.red
                onTriggered: root.showingResetConfirmation = true
            }
        }
    }

    Alert {
        id: alert

        title: qsTr("Reset MIDI Configuration")
        message: qsTr("This will reset all MIDI note mappings to their default values.")
        actions: [
            AlertAction {
                text: qsTr("Cancel")
                role: AlertAction.Cancel
            },
            AlertAction {
                text: qsTr("Reset")
                role: AlertAction.Destructive
                onTriggered: settings.reset()
            }
        ]
        visible: root.showingResetConfirmation
        onClosed: root.showingResetConfirmation = false
    }
}
