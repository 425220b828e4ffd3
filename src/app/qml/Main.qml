import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Parcelo.Model

// The one window: for now the product name, the batch counts and the main actions.
ApplicationWindow {
    id: root

    width: 960
    height: 640
    visible: true
    title: "Parcelo"

    ColumnLayout {
        anchors.centerIn: parent
        spacing: 12

        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "Parcelo"
            font.pixelSize: 32
            font.bold: true
        }

        Label {
            Layout.alignment: Qt.AlignHCenter
            text: AppModel.items.count + " images · " + AppModel.pendingCount + " pending · "
                  + AppModel.readyCount + " ready · " + AppModel.failedCount + " failed"
        }

        Label {
            Layout.alignment: Qt.AlignHCenter
            text: AppModel.requirementSummary
        }

        RowLayout {
            Layout.alignment: Qt.AlignHCenter

            Button {
                text: "Choose images…"
                enabled: !AppModel.busy && !AppModel.exporting && !AppModel.scanning
                onClicked: AppModel.chooseFiles()
            }
            Button {
                text: AppModel.busy ? "Pause" : "Fit remaining"
                onClicked: AppModel.busy ? AppModel.pause() : AppModel.fit(false)
            }
            Button {
                text: "Save " + AppModel.readyCount + " images…"
                enabled: AppModel.readyCount > 0 && !AppModel.busy && !AppModel.exporting
                onClicked: AppModel.exportCopies()
            }
            Button {
                text: "Clear"
                enabled: !AppModel.busy && !AppModel.exporting
                onClicked: AppModel.clear()
            }
        }

        Label {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: root.width - 48
            visible: AppModel.message !== ""
            text: AppModel.message
            wrapMode: Text.Wrap
        }
    }

    DropArea {
        anchors.fill: parent
        onDropped: drop => AppModel.add(drop.urls)
    }

    FileDialog {
        id: fileDialog

        title: "Choose images or folders"
        fileMode: FileDialog.OpenFiles
        nameFilters: ["Images (*.jpg *.jpeg *.jpe *.jfif *.png *.heic *.heif *.tif *.tiff *.bmp *.gif)"]
        onAccepted: AppModel.add(selectedFiles)
    }

    FolderDialog {
        id: folderDialog

        title: "Save fitted copies"
        acceptLabel: "Save here"
        onAccepted: AppModel.exportTo(selectedFolder)
    }

    Connections {
        target: AppModel

        function onChooseFilesRequested() { fileDialog.open() }
        function onExportFolderRequested() { folderDialog.open() }
    }
}
