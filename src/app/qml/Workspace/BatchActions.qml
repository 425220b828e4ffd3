// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Model
import Parcelo.Style

// The batch actions: "Pause" alone while a fit run is busy; otherwise retry, fit and save,
// each under its own condition, side by side when the width allows, else wrapped.
Flow {
    id: root

    readonly property bool exactUnusable: AppModel.exactPixels && AppModel.fitSettings.exactWidth === 0
                                          && AppModel.fitSettings.exactHeight === 0
    readonly property bool settingsUsable: AppModel.fitSettings.isValid && !exactUnusable

    // Right to left: the last of the table stands rightmost, and a narrow window wraps the first
    // ones onto further lines.
    layoutDirection: Qt.RightToLeft
    spacing: 8

    PrimaryButton {
        objectName: "pauseButton"
        visible: AppModel.busy
        text: "Pause"
        onClicked: AppModel.pause()
    }
    PrimaryButton {
        objectName: "saveButton"
        visible: !AppModel.busy && AppModel.readyCount >= 1
        enabled: !AppModel.exporting
        text: AppModel.exporting ? "Saving…"
                                 : "Save " + AppModel.readyCount + (AppModel.readyCount === 1 ? " image…" : " images…")
        onClicked: AppModel.exportCopies()
    }
    PrimaryButton {
        objectName: "fitButton"
        visible: !AppModel.busy && (AppModel.pendingCount > 0 || AppModel.items.count === 0)
        enabled: AppModel.items.count > 0 && root.settingsUsable && !AppModel.exporting && !AppModel.scanning
        text: AppModel.readyCount >= 1 ? "Fit remaining" : "Make it fit"
        onClicked: AppModel.fit(false)
    }
    SecondaryButton {
        objectName: "retryButton"
        visible: !AppModel.busy && AppModel.failedCount >= 1
        enabled: !AppModel.exporting && root.settingsUsable
        text: "Retry failed"
        onClicked: AppModel.fit(true)
    }
}
