// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Model
import Parcelo.Style

// The current image, large: the fitted copy or the original, with the comparison bar along the
// bottom and, top right, the controls to adjust the crop and to inspect the full-size export.
Item {
    id: root

    readonly property var current: AppModel.current
    readonly property bool fitted: current.ready === true
    readonly property bool showsOriginal: AppModel.previewOriginal || !fitted

    // The user asked to adjust the crop of the current image.
    signal adjustCrop()

    objectName: "previewStage"

    RoundedGradient {
        anchors.fill: parent
        radius: 19
        from: Theme.stageFrom
        to: Theme.stageTo
    }

    BoundedPreview {
        id: preview

        objectName: "stagePreview"
        anchors.fill: parent
        anchors.margins: 16
        anchors.bottomMargin: 52
        url: (root.showsOriginal ? root.current.source : root.current.output) ?? ""
    }

    ComparisonBar {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 12
        fitted: root.fitted
        current: root.current
    }

    ControlPill {
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: 8
        cropAdjustable: AppModel.requirements.exactCropping
        fitted: root.fitted
        onAdjustCrop: root.adjustCrop()
        onInspect: AppModel.inspect(root.current.id)
    }
}
