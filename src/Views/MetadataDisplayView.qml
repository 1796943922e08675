import QtQuick
import QtQuick.Controls.impl
import Tessivo

// How long the loop is that is going to be saved, and how large. Without a loop it is not there.
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

        IconImage {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            source: Theme.icon(figure.symbol)
            color: Theme.secondaryText
            sourceSize.width: Theme.captionIconSize
            sourceSize.height: Theme.captionIconSize
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
            label: "Duration:"
            value: measurement.duration
        }

        Figure {
            symbol: "doc"
            label: "Size:"
            value: measurement.fileSize
        }
    }
}
