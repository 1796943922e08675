import QtQuick
import QtQuick.Templates as T
import Tessivo

// The sheet that picks the MIDI device and maps notes to commands. It lives only while it is
// shown, so that every showing begins with the manager's mapping. Return alone never saves: it
// belongs to the button that has the focus.
T.ApplicationWindow {
    id: root

    required property MIDIManager midiManager

    property bool showingResetConfirmation: false

    // The sheet has nothing more to do, whatever came of it.
    signal dismissed()

    function save() {
        settings.save();
        dismissed();
    }

    visible: true
    modality: Qt.WindowModal
    flags: Qt.Dialog
    title: "MIDI Settings"
    color: Theme.windowBackground
    // Large system fonts may need more than the usual width, and a small screen may not have
    // the usual height: what does not fit is scrolled to.
    minimumWidth: Math.max(300, Math.ceil(Math.max(header.implicitWidth,
        mappings.neededWidth + 2 * Theme.sheetPadding)))
    maximumWidth: Math.max(minimumWidth, 400)
    minimumHeight: Math.min(600, Screen.desktopAvailableHeight - Theme.screenMargin)
    maximumHeight: 800
    width: Math.max(minimumWidth, 350)
    height: Math.max(minimumHeight, Math.min(650, Screen.desktopAvailableHeight - Theme.screenMargin))

    Component.onCompleted: settings.refresh()
    Component.onDestruction: midiManager.stopLearning()
    onClosing: dismissed()

    MIDISettings {
        id: settings

        midiManager: root.midiManager
    }

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: !alert.visible
        autoRepeat: false
        onActivated: root.save()
    }

    Shortcut {
        sequences: ["Escape", "Ctrl+Escape"]
        enabled: !alert.visible
        autoRepeat: false
        onActivated: root.dismissed()
    }

    Item {
        anchors.fill: parent
        focus: true
        Keys.onPressed: event => event.accepted = area.takes(event.key)

        SheetHeader {
            id: header

            anchors.left: parent.left
            anchors.right: parent.right
            title: root.title
            acceptText: "Save"
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
                text: "Reset to Defaults"
                tint: Theme.red
                onTriggered: root.showingResetConfirmation = true
            }
        }
    }

    Alert {
        id: alert

        title: "Reset MIDI Configuration"
        message: "This will reset all MIDI note mappings to their default values."
        actions: [
            AlertAction {
                text: "Cancel"
                role: AlertAction.Cancel
            },
            AlertAction {
                text: "Reset"
                role: AlertAction.Destructive
                onTriggered: settings.reset()
            }
        ]
        visible: root.showingResetConfirmation
        onClosed: root.showingResetConfirmation = false
    }
}
