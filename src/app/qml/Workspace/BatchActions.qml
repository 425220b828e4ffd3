// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Model
import Parcelo.Style

// The batch actions: "Pause" alone while a fit run is busy; otherwise retry, fit and save,
// each under its own condition, side by side when the width allows, else wrapped.
Item {
    id: root

    // The width of the shown buttons in one row.
    readonly property real rowWidth: {
        const shown = [retryButton, fitButton, saveButton, pauseButton].filter(button => button.visible)
        return shown.reduce((sum, button) => sum + button.implicitWidth, 0) + Math.max(shown.length - 1, 0) * actions.spacing
    }

    implicitHeight: actions.implicitHeight

    // In reading order, so that Tab goes left to right; the row stands at the right edge, and a
    // narrow window wraps the last ones onto further lines.
    Flow {
        id: actions

        anchors.right: parent.right
        width: Math.min(root.width, root.rowWidth)
        spacing: 8

        SecondaryButton {
            id: retryButton

            objectName: "retryButton"
            visible: !AppModel.busy && AppModel.failedCount >= 1
            enabled: AppModel.canRetry
            text: "Retry failed"
            onClicked: AppModel.fit(true)
        }
        PrimaryButton {
            id: fitButton

            objectName: "fitButton"
            visible: !AppModel.busy && (AppModel.pendingCount > 0 || AppModel.items.count === 0)
            enabled: AppModel.canFit
            text: AppModel.readyCount >= 1 ? "Fit remaining" : "Make it fit"
            onClicked: AppModel.fit(false)
        }
        PrimaryButton {
            id: saveButton

            objectName: "saveButton"
            visible: !AppModel.busy && AppModel.readyCount >= 1
            enabled: AppModel.canSave
            text: AppModel.exporting ? "Saving…"
                                     : "Save " + AppModel.readyCount + (AppModel.readyCount === 1 ? " image…" : " images…")
            onClicked: AppModel.exportCopies()
        }
        PrimaryButton {
            id: pauseButton

            objectName: "pauseButton"
            visible: AppModel.busy
            text: "Pause"
            onClicked: AppModel.pause()
        }
    }
}
