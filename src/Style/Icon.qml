import QtQuick.Controls.impl
import Tessivo.Style

// One of the theme's icons in one colour; nothing for an empty symbol.
IconImage {
    id: root

    required property string symbol
    required property real size

    source: symbol === "" ? "" : Theme.icon(symbol)
    sourceSize.width: size
    sourceSize.height: size
}
