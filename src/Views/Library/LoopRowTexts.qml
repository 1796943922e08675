pragma ComponentBehavior: Bound
import QtQuick
import Tessivo.Style

// The texts of a row. A name may contain line breaks.
Column {
    id: root

    required property string name
    required property list<string> details

    // More characters than any window has room for.
    readonly property int longestShown: 300

    spacing: Theme.rowTextSpacing

    NameText {
        width: parent.width
        text: root.name.slice(0, root.longestShown).replace(/\s+/g, " ")
        font: Theme.headline
        color: Theme.primaryText
    }

    Row {
        width: parent.width
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
