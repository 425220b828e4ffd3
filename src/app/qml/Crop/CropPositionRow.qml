// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Style

// Under the crop picture: the slider along the axis the frame can travel, or the note that the
// image already has the requested shape.
RowLayout {
    id: root

    // "horizontal", "vertical" or "none".
    required property string travel
    required property point position

    // The user moved the slider.
    signal moved(point position)

    readonly property bool horizontal: travel === "horizontal"

    spacing: 8

    Text {
        visible: root.travel !== "none"
        text: root.horizontal ? "Left" : "Top"
        color: Theme.ink
        font.pixelSize: 11
    }
    Slider {
        id: slider

        objectName: "cropSlider"
        visible: root.travel !== "none"
        Layout.fillWidth: true
        from: 0
        to: 1
        value: root.horizontal ? root.position.x : root.position.y
        onMoved: root.moved(root.horizontal ? Qt.point(value, root.position.y) : Qt.point(root.position.x, value))
        Accessible.name: root.horizontal ? "Horizontal crop position" : "Vertical crop position"

        background: Rectangle {
            x: slider.leftPadding
            y: slider.topPadding + (slider.availableHeight - height) / 2
            width: slider.availableWidth
            height: 4
            radius: 2
            color: Qt.alpha(Theme.ink, 0.12)

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.violet
            }
        }
        handle: Rectangle {
            x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
            y: slider.topPadding + (slider.availableHeight - height) / 2
            width: 18
            height: 18
            radius: 9
            color: slider.pressed ? Qt.darker("white", 1.06) : "white"
            border.color: Qt.alpha(Theme.ink, 0.25)

            FocusRing {
                control: slider
                controlRadius: 9
            }
        }
    }
    Text {
        visible: root.travel !== "none"
        text: root.horizontal ? "Right" : "Bottom"
        color: Theme.ink
        font.pixelSize: 11
    }
    Text {
        objectName: "sameShapeNote"
        visible: root.travel === "none"
        Layout.fillWidth: true
        text: "This image already has the requested shape. The whole image is included."
        color: Theme.ink
        font.pixelSize: 11
        wrapMode: Text.Wrap
    }
}
