import QtQuick
import Tessivo
import Tessivo.Style

// The switch that sends the live input to the output. Its height includes a margin below.
Item {
    id: root

    required property bool isMonitoringEnabled

    signal toggleMonitoring()

    implicitWidth: toggle.implicitWidth
    implicitHeight: toggle.implicitHeight + Theme.toggleSpacing

    CheckboxToggleStyle {
        id: toggle

        anchors.horizontalCenter: parent.horizontalCenter
        text: qsTr("Input Monitor")
        isOn: root.isMonitoringEnabled
        onTriggered: root.toggleMonitoring()
    }
}
