import QtQuick
import Tessivo
import Tessivo.Style

Column {
    id: root

    required property MIDISettings settings

    readonly property MIDIManager midiManager: settings.midiManager
    readonly property real neededWidth: record.implicitWidth + 2 * Theme.panelPadding

    spacing: Theme.headingSpacing

    SectionHeading {
        width: parent.width
        symbol: "music.note"
        text: qsTr("Note Mappings")

        PushButton {
            text: qsTr("Stop Learning")
            small: true
            tint: Theme.red
            visible: root.midiManager.isLearningMode
            onTriggered: root.midiManager.stopLearning()
        }
    }

    Box {
        width: parent.width

        MIDIMappingRow {
            id: record

            width: parent.width
            settings: root.settings
            mapping: root.settings.record
            symbol: "record.circle"
            symbolColor: Theme.red
        }

        MIDIMappingRow {
            width: parent.width
            settings: root.settings
            mapping: root.settings.play
            symbol: "play.circle"
            symbolColor: Theme.green
        }

        MIDIMappingRow {
            width: parent.width
            settings: root.settings
            mapping: root.settings.stop
            symbol: "stop.circle"
            symbolColor: Theme.yellow
        }

        MIDIMappingRow {
            width: parent.width
            settings: root.settings
            mapping: root.settings.clear
            symbol: "trash.circle"
            symbolColor: Theme.orange
        }
    }
}
