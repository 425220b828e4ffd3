import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style as Style

// The one window: its menus, the settings sidebar with a plain workspace column beside it, the
// open and save dialogs the model asks for, and the About box.
ApplicationWindow {
    id: root

    width: 900
    height: 640
    minimumWidth: 860
    minimumHeight: 600
    visible: true
    title: "Parcelo"

    menuBar: AppMenuBar {
        onAboutRequested: aboutDialog.open()
    }

    SettingsSidebar {
        id: sidebar

        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 246
    }

    Rectangle {
        id: hairline

        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.left: sidebar.right
        width: 1
        color: Qt.alpha(Style.Palette.ink, 0.07)
    }

    Rectangle {
        id: workspace

        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.left: hairline.right
        anchors.right: parent.right
        color: Style.Palette.paper
    }

    ColumnLayout {
        anchors.centerIn: workspace
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
            Layout.maximumWidth: workspace.width - 48
            visible: AppModel.message !== ""
            text: AppModel.message
            wrapMode: Text.Wrap
        }
    }

    DropArea {
        anchors.fill: workspace
        onDropped: drop => AppModel.add(drop.urls)
    }

    FileDialog {
        id: fileDialog

        objectName: "chooseFilesDialog"
        title: "Choose images or folders"
        fileMode: FileDialog.OpenFiles
        // Both cases: Qt's own dialog matches names case-sensitively.
        nameFilters: ["Images (*.jpg *.jpeg *.jpe *.jfif *.png *.heic *.heif *.tif *.tiff *.bmp *.gif "
                      + "*.JPG *.JPEG *.JPE *.JFIF *.PNG *.HEIC *.HEIF *.TIF *.TIFF *.BMP *.GIF)"]
        onAccepted: AppModel.add(selectedFiles)
    }

    FolderDialog {
        id: folderDialog

        objectName: "exportFolderDialog"
        title: "Save fitted copies"
        acceptLabel: "Save here"
        onAccepted: AppModel.exportTo(selectedFolder)
    }

    AboutDialog {
        id: aboutDialog

        objectName: "aboutDialog"
    }

    Connections {
        target: AppModel

        function onChooseFilesRequested() { fileDialog.open() }
        function onExportFolderRequested() { folderDialog.open() }
    }
}
