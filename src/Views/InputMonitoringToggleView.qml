import QtQuick

// The switch that sends the live input to the output. The space below it belongs to the view,
// so that what follows keeps its distance.
Item {
    id: root

    required property bool isMonitoringEnabled

    signal toggleMonitoring()

    implicitWidth: toggle.implicitWidth
    implicitHeight: toggle.implicitHeight + Theme.toggleSpacing

    CheckboxToggleStyle {
        id: toggle

        anchors.horizontalCenter: parent.horizontalCenter
        text: "Input Monitor"
        isOn: root.isMonitoringEnabled
        onTriggered: root.toggleMonitoring()
    }
}
