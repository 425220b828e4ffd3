// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import Parcelo.Model
import Parcelo

// The one window: its menus, the workspace, the open and save dialogs the model asks for, and the
// About box.
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

    ContentView {
        anchors.fill: parent
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
