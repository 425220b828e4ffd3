// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style
import Parcelo

// The batch: the preview stage of the current image, the verification line, the queue header
// and the list of images.
ColumnLayout {
    id: root

    // The current image's roles; empty with no images.
    readonly property var current: AppModel.current
    readonly property bool hasCurrent: current.id !== undefined
    readonly property bool currentFitted: hasCurrent && current.ready

    // The user asked to adjust the crop of the current image.
    signal adjustCrop()

    spacing: 12

    PreviewStage {
        visible: root.hasCurrent
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumHeight: 140
        onAdjustCrop: root.adjustCrop()
    }

    VerificationLine {
        visible: root.currentFitted
        Layout.fillWidth: true
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        Text {
            objectName: "queueCount"
            Layout.fillWidth: true
            text: AppModel.items.count + (AppModel.items.count === 1 ? " IMAGE" : " IMAGES")
            color: Theme.ink
            font.pixelSize: 10
            font.bold: true
            font.letterSpacing: 1.7
        }
        Text {
            objectName: "savedBytes"
            visible: text !== ""
            text: AppModel.savedText
            color: Theme.verifiedGreen
            font.pixelSize: 10
            font.bold: true
        }
    }

    ImageList {
        Layout.fillWidth: true
    }
}
