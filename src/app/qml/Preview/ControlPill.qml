// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// Top right on the preview stage: "Adjust crop" in exact-pixel mode, and the control that opens
// a full-size duplicate of the fitted copy in the desktop's image viewer.
Rectangle {
    id: root

    required property bool cropAdjustable
    required property bool fitted

    signal adjustCrop()
    signal inspect()

    objectName: "controlPill"
    visible: cropAdjustable || fitted
    implicitWidth: controls.implicitWidth + 16
    implicitHeight: controls.implicitHeight + 10
    radius: 8
    color: Qt.alpha("white", 0.94)

    RowLayout {
        id: controls

        anchors.centerIn: parent
        spacing: 8

        AbstractButton {
            id: cropButton

            objectName: "adjustCropButton"
            visible: root.cropAdjustable
            enabled: AppModel.canAdjustCrop
            text: "Adjust crop"
            onClicked: root.adjustCrop()
            Accessible.name: text

            contentItem: RowLayout {
                spacing: 4
                opacity: cropButton.enabled ? 1 : Theme.dimmedOpacity

                Symbol {
                    name: "crop"
                    size: 11
                    color: Theme.ink
                }
                Text {
                    text: cropButton.text
                    color: Theme.ink
                    font.pixelSize: 10
                    font.weight: Font.Medium
                }
            }
            background: Item {
                FocusRing {
                    control: cropButton
                    controlRadius: 4
                }
            }
        }

        AbstractButton {
            id: inspectButton

            objectName: "inspectButton"
            visible: root.fitted
            hoverEnabled: true
            onClicked: root.inspect()
            Accessible.name: "Inspect export in image viewer"
            HoverHelp {
                visible: inspectButton.hovered
                text: "Inspect the full-size export in your image viewer"
            }

            contentItem: Symbol {
                name: "arrow.up.right.square"
                size: 13
                color: Theme.ink
            }
            background: Item {
                FocusRing {
                    control: inspectButton
                    controlRadius: 4
                }
            }
        }
    }
}
