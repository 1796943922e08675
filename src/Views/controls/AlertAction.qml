import QtQml

// One way out of an alert.
QtObject {
    enum Role {
        Standard,
        Cancel,      // leaves everything as it is
        Destructive  // what it does cannot be taken back
    }

    required property string text
    property int role: AlertAction.Standard

    signal triggered()
}
