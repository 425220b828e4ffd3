// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import Parcelo.Model

// The File and Help menus. Every command is one model operation or one outside address; each
// File command is enabled by the model's gate for its operation.
MenuBar {
    id: root

    // Asks the window to show the About box.
    signal aboutRequested()
    // Asks the window to close, which ends Parcelo and removes its working folder.
    signal quitRequested()
    // Every menu is closed (also with Escape): the window takes the keyboard back, so that no
    // menu title stays highlighted.
    signal menusClosed()

    // Once the event that closed a menu is handled, since it may have opened the next one.
    function menuClosed() { menusSettled.restart() }

    Timer {
        id: menusSettled

        interval: 0
        onTriggered: {
            if (fileMenu.opened || helpMenu.opened) return
            for (let i = 0; i < root.count; ++i) (root.itemAt(i) as MenuBarItem).highlighted = false
            root.menusClosed()
        }
    }

    AppMenu {
        id: fileMenu

        objectName: "fileMenu"
        title: qsTr("&File")
        onClosed: root.menuClosed()

        Action {
            objectName: "addAction"
            text: "Add Images or Folders…"
            shortcut: "Ctrl+O"
            enabled: AppModel.canAdd
            onTriggered: AppModel.chooseFiles()
        }
        // The desktop's chooser picks files or folders, not both at once: folders have their own item.
        Action {
            objectName: "addFolderAction"
            text: "Add Folder…"
            shortcut: "Ctrl+Shift+O"
            enabled: AppModel.canAdd
            onTriggered: AppModel.chooseFolders()
        }
        Action {
            objectName: "fitAction"
            text: "Fit Remaining Images"
            shortcut: "Ctrl+Return"
            enabled: AppModel.canFit
            onTriggered: AppModel.fit(false)
        }
        Action {
            objectName: "saveAction"
            text: "Save Fitted Copies…"
            shortcut: "Ctrl+S"
            enabled: AppModel.canOfferSave
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
        enabled: AppModel.canFit
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
