// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Shapes
import Parcelo.Model
import Parcelo.Style

// The picture of the crop editor with its frame: the picture scaled to fit, the outside of the
// frame shaded, and the frame dragged one to one across the picture.
Rectangle {
    id: root

    // The source shown, and the exact size's width ÷ height.
    property url source
    property real target: 1
    // The position being edited; the frame follows it.
    property point position: Qt.point(0.5, 0.5)

    readonly property alias loaded: picture.visible
    readonly property size imageSize: loader.imageSize
    readonly property alias error: loader.error
    readonly property string travel: CropGeometry.travel(loader.imageSize, target)
    readonly property rect pictureRect: CropGeometry.picture(Qt.size(width, height), loader.imageSize)
    readonly property rect frameRect: CropGeometry.frame(pictureRect, target, position)

    // Where the position was when the current drag began.
    property var dragStart: null

    // A drag moved the frame to position.
    signal moved(point position)

    radius: 10
    color: Qt.alpha(Theme.ink, 0.06)

    PreviewLoader {
        id: loader

        objectName: "cropPreview"
        source: root.source
    }

    BusyIndicator {
        objectName: "cropLoading"
        anchors.centerIn: parent
        running: loader.loading
        visible: running
    }

    Text {
        objectName: "cropError"
        anchors.fill: parent
        anchors.margins: 24
        visible: loader.error !== ""
        text: loader.error
        color: Theme.muted
        font.pixelSize: 12
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    Image {
        id: picture

        objectName: "cropPicture"
        x: root.pictureRect.x
        y: root.pictureRect.y
        width: root.pictureRect.width
        height: root.pictureRect.height
        visible: String(loader.image) !== ""
        source: loader.image
        cache: false
        smooth: true
        mipmap: true
    }

    // Everything of the picture outside the frame, darkened; the frame's hole by the even-odd rule.
    Shape {
        anchors.fill: parent
        visible: picture.visible
        enabled: false

        ShapePath {
            fillColor: Qt.rgba(0, 0, 0, 0.5)
            strokeColor: "transparent"
            fillRule: ShapePath.OddEvenFill

            PathPolyline {
                path: [Qt.point(root.pictureRect.left, root.pictureRect.top),
                       Qt.point(root.pictureRect.right, root.pictureRect.top),
                       Qt.point(root.pictureRect.right, root.pictureRect.bottom),
                       Qt.point(root.pictureRect.left, root.pictureRect.bottom),
                       Qt.point(root.pictureRect.left, root.pictureRect.top)]
            }
            PathPolyline {
                path: [Qt.point(root.frameRect.left, root.frameRect.top),
                       Qt.point(root.frameRect.right, root.frameRect.top),
                       Qt.point(root.frameRect.right, root.frameRect.bottom),
                       Qt.point(root.frameRect.left, root.frameRect.bottom),
                       Qt.point(root.frameRect.left, root.frameRect.top)]
            }
        }
    }

    Rectangle {
        objectName: "cropFrame"
        x: root.frameRect.x
        y: root.frameRect.y
        width: root.frameRect.width
        height: root.frameRect.height
        visible: picture.visible
        color: "transparent"
        border.color: "white"
        border.width: 2
        Accessible.role: Accessible.Graphic
        Accessible.name: "Crop selection. Use the position sliders below to adjust."

        DragHandler {
            target: null
            dragThreshold: 10
            onTranslationChanged: {
                if (!active) return
                // A copy: the position itself moves during the drag.
                if (root.dragStart === null) root.dragStart = Qt.point(root.position.x, root.position.y)
                root.moved(CropGeometry.dragged(root.dragStart, Qt.point(translation.x, translation.y),
                                                     root.pictureRect, root.frameRect))
            }
            onActiveChanged: if (!active) root.dragStart = null
        }
    }
}
