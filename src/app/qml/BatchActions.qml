import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// The batch actions: "Pause" alone while a fit run is busy; otherwise retry, fit and save,
// each under its own condition, side by side when the width allows, else stacked.
GridLayout {
    id: root

    readonly property bool exactUnusable: AppModel.exactPixels && AppModel.fitSettings.exactWidth === 0
                                          && AppModel.fitSettings.exactHeight === 0
    readonly property bool settingsUsable: AppModel.fitSettings.isValid && !exactUnusable
    readonly property int shownButtons: (retryButton.visible ? 1 : 0) + (fitButton.visible ? 1 : 0)
                                        + (saveButton.visible ? 1 : 0)
    // Side by side needs the buttons' width plus the space between them.
    readonly property real rowWidth: (retryButton.visible ? retryButton.implicitWidth : 0)
                                     + (fitButton.visible ? fitButton.implicitWidth : 0)
                                     + (saveButton.visible ? saveButton.implicitWidth : 0)
                                     + Math.max(shownButtons - 1, 0) * columnSpacing

    readonly property bool sideBySide: width >= rowWidth

    columns: sideBySide ? 5 : 1
    rowSpacing: 8
    columnSpacing: 8

    Item {
        visible: root.sideBySide
        Layout.fillWidth: true
    }
    DarkButton {
        objectName: "pauseButton"
        visible: AppModel.busy
        text: "Pause"
        Layout.alignment: Qt.AlignRight
        onClicked: AppModel.pause()
    }
    Button {
        id: retryButton

        objectName: "retryButton"
        visible: !AppModel.busy && AppModel.failedCount >= 1
        enabled: !AppModel.exporting && root.settingsUsable
        text: "Retry failed"
        font.pixelSize: 12
        onClicked: AppModel.fit(true)
    }
    DarkButton {
        id: fitButton

        objectName: "fitButton"
        visible: !AppModel.busy && (AppModel.pendingCount > 0 || AppModel.items.count === 0)
        enabled: AppModel.items.count > 0 && root.settingsUsable && !AppModel.exporting && !AppModel.scanning
        text: AppModel.readyCount >= 1 ? "Fit remaining" : "Make it fit"
        onClicked: AppModel.fit(false)
    }
    DarkButton {
        id: saveButton

        objectName: "saveButton"
        visible: !AppModel.busy && AppModel.readyCount >= 1
        enabled: !AppModel.exporting
        text: AppModel.exporting ? "Saving…"
                                 : "Save " + AppModel.readyCount + (AppModel.readyCount === 1 ? " image…" : " images…")
        onClicked: AppModel.exportCopies()
    }
}
