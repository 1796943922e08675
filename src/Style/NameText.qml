import QtQuick

// One line with a name that the program did not choose: of any length, in any script, and perhaps
// looking like markup. It is as high as its own font, and not as a font that stands in for another
// script, so that all rows of a list are of one height.
Text {
    id: root

    height: Math.ceil(metrics.height)
    verticalAlignment: Text.AlignVCenter
    horizontalAlignment: Text.AlignLeft
    textFormat: Text.PlainText
    maximumLineCount: 1
    elide: Text.ElideRight

    FontMetrics {
        id: metrics

        font: root.font
    }
}
