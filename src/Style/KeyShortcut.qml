import QtQuick
import Tessivo.Style

// A shortcut by keys, which are those in the same places where the keyboard has no Latin letters.
Shortcut {
    id: root

    required property var keys

    // One by one, as no shortcut may have the same keys twice.
    sequences: keys.concat(keys.map(inPlace).filter(key => key !== ""))
    autoRepeat: false

    function inPlace(key: string): string {
        const latin = /(^|\+)([A-Z.])$/.exec(key)?.[2] ?? "";
        const symbol = LatinKeys.symbols[latin] ?? "";
        return symbol === "" ? "" : key.slice(0, -1) + symbol;
    }
}
