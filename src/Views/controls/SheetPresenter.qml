import QtQuick
import QtQuick.Templates as T

// Shows a sheet over a window for as long as it is wanted, a new one each time.
QtObject {
    id: root

    required property Window window
    required property bool presents
    default required property Component maker
    // What the sheet is given as it is at that moment.
    property var given: ({})

    property T.ApplicationWindow sheet: null

    onPresentsChanged: {
        if (sheet)
            sheet.destroy();
        sheet = !presents ? null : maker.createObject(window,
            Object.assign({ transientParent: window }, given)) as T.ApplicationWindow;
    }
}
