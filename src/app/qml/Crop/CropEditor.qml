// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// The sheet in which the crop frame of one image is moved over its picture. Only that image
// changes; the exact size stays, nothing is stretched or enlarged.
Popup {
    id: root

    // The image being cropped (id, source, fileName, crop), as AppModel.current gives it.
    property var item: null
    // The exact size entered in the requirements, as the model reads it.
    required property int exactWidth
    required property int exactHeight
    // The position being edited; starts as the image's own crop.
    property point position: Qt.point(0.5, 0.5)

    readonly property real target: exactWidth / exactHeight

    // "Use crop": the chosen position, to be stored for the image.
    signal applied(point position)

    function useCrop() {
        if (!cropArea.loaded) return
        root.applied(root.position)
        root.close()
    }

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 560
    padding: 24
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    // The frame starts where the image's copy is cut: the crop the model has stored for it.
    onAboutToShow: position = item ? AppModel.cropOf(item.id) : Qt.point(0.5, 0.5)

    background: Rectangle {
        radius: 14
        color: Theme.paper
        border.color: Qt.alpha(Theme.ink, 0.1)
    }
    Overlay.modal: Rectangle {
        color: Qt.alpha(Theme.ink, 0.25)
    }

    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: root.opened
        onActivated: root.useCrop()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 14

        RowLayout {
            Layout.fillWidth: true

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                Text {
                    text: "Position the crop"
                    color: Theme.ink
                    font.pixelSize: 20
                    font.bold: true
                }
                Text {
                    objectName: "cropSubtitle"
                    Layout.fillWidth: true
                    text: root.exactWidth + " × " + root.exactHeight + " px · " + (root.item ? root.item.fileName : "")
                    color: Theme.muted
                    font.pixelSize: 11
                    elide: Text.ElideMiddle
                }
            }
            SecondaryButton {
                objectName: "centerButton"
                text: "Center"
                onClicked: root.position = Qt.point(0.5, 0.5)
            }
        }

        CropArea {
            id: cropArea

            objectName: "cropArea"
            Layout.fillWidth: true
            Layout.preferredHeight: 280
            source: root.visible && root.item ? root.item.source : ""
            target: root.target
            position: root.position
            onMoved: position => root.position = position
        }

        CropPositionRow {
            visible: cropArea.loaded
            Layout.fillWidth: true
            travel: cropArea.travel
            position: root.position
            onMoved: position => root.position = position
        }

        Text {
            Layout.fillWidth: true
            text: "Drag the frame or use the slider. Only this image changes. Exact pixels stay fixed; nothing is stretched or enlarged."
            color: Theme.muted
            font.pixelSize: 11
            wrapMode: Text.Wrap
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            Item {
                Layout.fillWidth: true
            }
            SecondaryButton {
                objectName: "cancelButton"
                text: "Cancel"
                onClicked: root.close()
            }
            PrimaryButton {
                objectName: "useCropButton"
                text: "Use crop"
                enabled: cropArea.loaded
                onClicked: root.useCrop()
            }
        }
    }
}
