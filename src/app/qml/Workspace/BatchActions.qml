// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Model
import Parcelo.Style

// The batch actions: "Pause" alone while a fit run is busy; otherwise retry, fit and save, as
// the model shows them, side by side when the width allows, else wrapped.
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
            visible: AppModel.showsRetry
            enabled: AppModel.canRetry
            text: "Retry failed"
            onClicked: AppModel.fit(true)
        }
        PrimaryButton {
            id: fitButton

            objectName: "fitButton"
            visible: AppModel.showsFit
            enabled: AppModel.canFit
            text: AppModel.fitTitle
            onClicked: AppModel.fit(false)
        }
        PrimaryButton {
            id: saveButton

            objectName: "saveButton"
            visible: AppModel.showsSave
            enabled: AppModel.canSave
            text: AppModel.saveTitle
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
