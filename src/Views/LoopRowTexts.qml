pragma ComponentBehavior: Bound
import QtQuick
import Tessivo

// What a row says of its loop. A name may be anything: of any length, in any script, with line
// breaks and what would be markup elsewhere.
Column {
    id: root

    required property string name
    required property list<string> details

    // More than any window shows.
    readonly property int longestShown: 300

    spacing: Theme.rowTextSpacing

    Text {
        width: parent.width
        text: root.name.slice(0, root.longestShown).replace(/\s+/g, " ")
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignLeft
        maximumLineCount: 1
        elide: Text.ElideRight
        font: Theme.headline
        color: Theme.primaryText
    }

    Row {
        spacing: Theme.rowDetailSpacing

        Repeater {
            model: root.details

            Text {
                required property string modelData

                text: modelData
                textFormat: Text.PlainText
                font: Theme.caption
                color: Theme.secondaryText
            }
        }
    }
}
