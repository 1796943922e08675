import QtQml

// One button of an alert.
QtObject {
    enum Role {
        Standard,
        Cancel,      // changes nothing
        Destructive  // cannot be undone
    }

    required property string text
    property int role: AlertAction.Standard

    signal triggered()
}
