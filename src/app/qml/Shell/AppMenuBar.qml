// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model

// The File and Help menus. Every command is one model operation or one outside address; the
// File commands are offered only in the states in which the model would act on them.
MenuBar {
    id: root

    // Asks the window to show the About box.
    signal aboutRequested()

    readonly property bool canAdd: !AppModel.busy && !AppModel.exporting
    readonly property bool canFit: !AppModel.busy && !AppModel.exporting && !AppModel.scanning
                                   && AppModel.pendingCount > 0 && AppModel.fitSettings.isValid
                                   && !(AppModel.exactPixels && AppModel.fitSettings.exactWidth === 0
                                        && AppModel.fitSettings.exactHeight === 0)
    readonly property bool canSave: AppModel.readyCount > 0 && !AppModel.busy

    AppMenu {
        objectName: "fileMenu"
        title: qsTr("&File")

        Action {
            objectName: "addAction"
            text: "Add Images or Folders…"
            shortcut: "Ctrl+O"
            enabled: root.canAdd
            onTriggered: AppModel.chooseFiles()
        }
        Action {
            objectName: "fitAction"
            text: "Fit Remaining Images"
            shortcut: "Ctrl+Return"
            enabled: root.canFit
            onTriggered: AppModel.fit(false)
        }
        Action {
            objectName: "saveAction"
            text: "Save Fitted Copies…"
            shortcut: "Ctrl+S"
            enabled: root.canSave
            onTriggered: AppModel.exportCopies()
        }
    }

    AppMenu {
        objectName: "helpMenu"
        title: qsTr("&Help")

        Action {
            objectName: "helpAction"
            text: "Parcelo Help"
            onTriggered: Qt.openUrlExternally(AppLinks.help)
        }
        Action {
            objectName: "supportAction"
            text: "Contact Support"
            onTriggered: Qt.openUrlExternally(AppLinks.support)
        }
        Action {
            objectName: "websiteAction"
            text: "Visit Parcelo Website"
            onTriggered: Qt.openUrlExternally(AppLinks.website)
        }
        MenuSeparator {}
        Action {
            objectName: "aboutAction"
            text: "About Parcelo"
            onTriggered: root.aboutRequested()
        }
    }
}
