import QtQuick
import Tessivo
import Tessivo.Style

// Duration and size of the loop that is going to be saved. Invisible without a loop.
Rectangle {
    id: root

    required property url fileURL

    component Figure: Item {
        id: figure

        required property string symbol
        required property string label
        required property string value

        anchors.left: parent.left
        anchors.right: parent.right
        implicitHeight: Math.max(name.implicitHeight, number.implicitHeight)

        Accessible.role: Accessible.StaticText
        Accessible.name: label + " " + value

        Icon {
            id: icon

            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            symbol: figure.symbol
            color: Theme.secondaryText
            size: Theme.captionIconSize
        }

        Text {
            id: name

            anchors.left: icon.right
            anchors.leftMargin: Theme.iconLabelSpacing
            anchors.verticalCenter: parent.verticalCenter
            text: figure.label
            font: Theme.caption
            color: Theme.secondaryText
        }

        Text {
            id: number

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: figure.value
            font: Theme.caption
            color: Theme.primaryText
        }
    }

    readonly property bool hasFile: String(fileURL) !== ""

    visible: hasFile
    implicitHeight: figures.implicitHeight + 2 * Theme.panelPadding
    radius: Theme.panelRadius
    color: Qt.alpha(Theme.gray, Theme.panelTint)
    border.color: Theme.primaryText
    border.width: Theme.faceBorder

    Component.onCompleted: if (hasFile) measurement.measure(fileURL)

    LoopMeasurement {
        id: measurement
    }

    Column {
        id: figures

        anchors.fill: parent
        anchors.margins: Theme.panelPadding
        spacing: Theme.panelSpacing

        Figure {
            symbol: "clock"
            label: qsTr("Duration:")
            value: measurement.duration
        }

        Figure {
            symbol: "doc"
            label: qsTr("Size:")
            value: measurement.fileSize
        }
    }
}
