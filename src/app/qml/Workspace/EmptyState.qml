// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// What the workspace shows with no images: where to drop them, the one button that opens the
// chooser, and what Parcelo does for the batch.
Item {
    id: root

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width, 460)
        spacing: 0

        Item {
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: 96
            Layout.preferredHeight: 96

            SoftShadow {
                anchors.fill: parent
                anchors.topMargin: 8
                anchors.bottomMargin: -8
                radius: 22
                blur: 18
                color: Qt.alpha(Theme.violet, 0.3)
            }
            RoundedGradient {
                anchors.fill: parent
                radius: 22
                from: Theme.tileFrom
                to: Theme.tileTo
            }
            Symbol {
                anchors.centerIn: parent
                name: "photo.badge.arrow.down.fill"
                size: 48
                color: "white"
            }
        }

        Text {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 22
            text: "Drop images or a folder."
            color: Theme.ink
            font.pixelSize: 24
            font.bold: true
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 6
            text: "One set of upload rules for the whole batch."
            color: Theme.ink
            opacity: 0.68
            font.pixelSize: 13
        }
        PrimaryButton {
            objectName: "chooseButton"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 18
            text: "Choose images or folders…"
            enabled: AppModel.canAdd
            onClicked: AppModel.chooseFiles()
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 10
            text: "JPEG · PNG · HEIC · TIFF · BMP · Subfolders included"
            color: Theme.ink
            opacity: 0.6
            font.pixelSize: 10
            font.weight: Font.Medium
            font.letterSpacing: 1
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 30
            spacing: 22

            MiniBenefit {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignTop
                icon: "arrow.down.to.line.compact"
                title: "Fits your limit"
                detail: "Pick a size. Skip the guesswork."
            }
            MiniBenefit {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignTop
                icon: "slider.horizontal.3"
                title: "Save a recipe"
                detail: "Your requirements, ready next time."
            }
            MiniBenefit {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignTop
                icon: "location.slash"
                title: "Less baggage"
                detail: "EXIF and GPS left behind."
            }
        }
    }
}
