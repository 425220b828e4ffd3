// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import Parcelo.Model
import Parcelo
import Parcelo.Style as Style

// The one window: its menus, the workspace, Parcelo's own chooser for sessions without the
// desktop's, and the About box. Quit, Ctrl+Q, Ctrl+W and the window's close button
// all close the window, which ends Parcelo and removes its working folder.
ApplicationWindow {
    id: root

    // The workspace itself has at least 860 × 600 and starts at 900 × 640; the menu bar comes on top.
    width: 900
    height: 640 + menuBar.implicitHeight
    minimumWidth: 860
    minimumHeight: 600 + menuBar.implicitHeight
    visible: true
    title: "Parcelo"
    // Menus, the About box, tooltips and dialogs take Parcelo's colours, never the desktop's.
    palette.window: Style.Theme.paper
    palette.base: "white"
    palette.alternateBase: Style.Theme.inset
    palette.windowText: Style.Theme.ink
    palette.text: Style.Theme.ink
    palette.buttonText: Style.Theme.ink
    palette.button: Style.Theme.inset
    palette.highlight: Qt.alpha(Style.Theme.violet, 0.14)
    palette.highlightedText: Style.Theme.ink
    palette.toolTipBase: Style.Theme.ink
    palette.toolTipText: "white"
    palette.link: Style.Theme.violet
    palette.light: "white"
    palette.midlight: Style.Theme.inset
    palette.mid: Qt.alpha(Style.Theme.ink, 0.14)
    palette.dark: Qt.alpha(Style.Theme.ink, 0.3)
    palette.shadow: Qt.alpha(Style.Theme.ink, 0.2)

    menuBar: AppMenuBar {
        objectName: "menuBar"
        onAboutRequested: aboutDialog.open()
        onQuitRequested: root.close()
        onMenusClosed: content.forceActiveFocus()
    }

    ContentView {
        id: content

        objectName: "contentView"
        anchors.fill: parent
    }

    Shortcut {
        sequence: "Ctrl+W"
        onActivated: root.close()
    }

    // Parcelo's own chooser, where the desktop offers none.
    FileChooserDialog {
        id: chooserDialog

        objectName: "chooserDialog"
    }

    AboutDialog {
        id: aboutDialog

        objectName: "aboutDialog"
    }

    Connections {
        target: FileChooser

        function onFallbackRequested() {
            chooserDialog.open()
        }
    }
}
