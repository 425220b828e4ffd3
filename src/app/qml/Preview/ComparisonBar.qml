// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// Along the bottom of the preview stage: the Fitted/Original switch and what the picture is,
// or only "Original preview" for an image without a fitted copy.
Item {
    id: root

    required property bool fitted
    required property var current

    readonly property string caption: !fitted ? "Original preview"
        : AppModel.previewOriginal ? "Original · " + AppModel.decimalSize(current.inputBytes)
        : current.width + " × " + current.height + " · " + String(current.fileExtension).toUpperCase()

    implicitHeight: 32

    // White captions need a dark plate to read on the light stage.
    Rectangle {
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        width: bar.implicitWidth + 12
        height: bar.implicitHeight + 8
        radius: height / 2
        color: Qt.alpha(Theme.ink, 0.55)
    }

    RowLayout {
        id: bar

        anchors.left: parent.left
        anchors.leftMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        spacing: 10

        SegmentedPicker {
            objectName: "comparisonPicker"
            visible: root.fitted
            Layout.preferredWidth: 180
            labels: ["Fitted", "Original"]
            currentIndex: AppModel.previewOriginal ? 1 : 0
            onActivated: index => AppModel.previewOriginal = index === 1
            Accessible.name: "Image preview"
            toolTip: "Compare the fitted copy with your original"
        }
        Text {
            objectName: "previewCaption"
            Layout.rightMargin: 8
            text: root.caption
            color: Qt.alpha("white", 0.9)
            font.pixelSize: 12
            font.weight: Font.Medium
        }
    }
}
