import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// The workspace's title and subtitle; "Add images" and "Clear" on the right once there is
// a batch or a folder scan.
RowLayout {
    id: root

    readonly property bool hasBatch: AppModel.items.count > 0 || AppModel.scanning

    spacing: 12

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 4

        Text {
            Layout.fillWidth: true
            text: "One recipe. Every image."
            color: Palette.ink
            font.pixelSize: 24
            font.bold: true
            font.letterSpacing: -0.8
            elide: Text.ElideRight
        }
        Text {
            Layout.fillWidth: true
            text: "Set the upload rules. Save checked copies for the whole batch."
            color: Palette.muted
            font.pixelSize: 12
            elide: Text.ElideRight
        }
    }

    Button {
        id: addButton

        objectName: "addImagesButton"
        visible: root.hasBatch
        enabled: !AppModel.busy && !AppModel.exporting && !AppModel.scanning
        text: "Add images"
        onClicked: AppModel.chooseFiles()
        contentItem: Row {
            spacing: 6

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "plus"
                size: 12
                color: Palette.ink
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: addButton.text
                color: Palette.ink
                font.pixelSize: 12
                font.weight: Font.Medium
            }
        }
    }

    Button {
        objectName: "clearButton"
        visible: root.hasBatch
        enabled: !AppModel.busy && !AppModel.exporting
        flat: true
        text: "Clear"
        onClicked: AppModel.clear()
        contentItem: Text {
            text: parent.text
            color: Palette.muted
            font.pixelSize: 12
            font.weight: Font.Medium
        }
    }
}
