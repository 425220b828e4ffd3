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
    // Asks the window to close, which ends Parcelo and removes its working folder.
    signal quitRequested()
    // Every menu is closed (also with Escape): the window takes the keyboard back, so that no
    // menu title stays highlighted.
    signal menusClosed()

    function menuClosed() {
        Qt.callLater(() => {
            if (fileMenu.opened || helpMenu.opened) return
            for (let i = 0; i < root.count; ++i) root.itemAt(i).highlighted = false
            root.menusClosed()
        })
    }

    readonly property bool canAdd: !AppModel.busy && !AppModel.exporting
    readonly property bool canFit: !AppModel.busy && !AppModel.exporting && !AppModel.scanning
                                   && AppModel.pendingCount > 0 && AppModel.fitSettings.isValid
                                   && !(AppModel.exactPixels && AppModel.fitSettings.exactWidth === 0
                                        && AppModel.fitSettings.exactHeight === 0)
    readonly property bool canSave: AppModel.readyCount > 0 && !AppModel.busy

    AppMenu {
        id: fileMenu

        objectName: "fileMenu"
        title: qsTr("&File")
        onClosed: root.menuClosed()

        Action {
            objectName: "addAction"
            text: "Add Images or Folders…"
            shortcut: "Ctrl+O"
            enabled: root.canAdd
            onTriggered: AppModel.chooseFiles()
        }
        // The desktop's chooser picks files or folders, not both at once: folders have their own item.
        Action {
            objectName: "addFolderAction"
            text: "Add Folder…"
            shortcut: "Ctrl+Shift+O"
            enabled: root.canAdd
            onTriggered: AppModel.chooseFolders()
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
        MenuSeparator {}
        Action {
            objectName: "quitAction"
            text: "Quit"
            shortcut: "Ctrl+Q"
            onTriggered: root.quitRequested()
        }
    }

    // Keypad Enter fits as Return does.
    Shortcut {
        sequence: "Ctrl+Enter"
        enabled: root.canFit
        onActivated: AppModel.fit(false)
    }

    AppMenu {
        id: helpMenu

        objectName: "helpMenu"
        title: qsTr("&Help")
        onClosed: root.menuClosed()

        Action {
            objectName: "helpAction"
            text: "Parcelo Help"
            onTriggered: AppModel.openOutside(AppLinks.help)
        }
        Action {
            objectName: "supportAction"
            text: "Contact Support"
            onTriggered: AppModel.openOutside(AppLinks.support)
        }
        Action {
            objectName: "websiteAction"
            text: "Visit Parcelo Website"
            onTriggered: AppModel.openOutside(AppLinks.website)
        }
        MenuSeparator {}
        Action {
            objectName: "aboutAction"
            text: "About Parcelo"
            onTriggered: root.aboutRequested()
        }
    }
}
