import QtQuick
import QtQuick.Templates as T

// Shows a sheet over a window while `presents` is true; each showing makes a new sheet.
QtObject {
    id: root

    required property Window window
    required property bool presents
    default required property Component maker
    // Initial properties of the sheet, evaluated when it is made.
    property var initialProperties: ({})

    property T.ApplicationWindow sheet: null

    onPresentsChanged: {
        if (sheet)
            sheet.destroy();
        sheet = !presents ? null : maker.createObject(window,
            Object.assign({ transientParent: window }, initialProperties)) as T.ApplicationWindow;
    }
}
