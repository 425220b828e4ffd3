// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Shapes

// A rounded rectangle filled with a gradient from its top-left to its bottom-right corner,
// through `middle` half way (by default the colour between the two ends). Drawn as a shape, so that it shows with every scene graph backend.
Shape {
    id: root

    property real radius: 0
    property color from
    property color to
    property color middle: Qt.rgba((from.r + to.r) / 2, (from.g + to.g) / 2, (from.b + to.b) / 2, (from.a + to.a) / 2)

    ShapePath {
        strokeColor: "transparent"
        fillGradient: LinearGradient {
            x1: 0
            y1: 0
            x2: root.width
            y2: root.height

            GradientStop { position: 0; color: root.from }
            GradientStop { position: 0.5; color: root.middle }
            GradientStop { position: 1; color: root.to }
        }
        startX: root.radius
        startY: 0

        PathLine { x: root.width - root.radius; y: 0 }
        PathArc { x: root.width; y: root.radius; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: root.width; y: root.height - root.radius }
        PathArc { x: root.width - root.radius; y: root.height; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: root.radius; y: root.height }
        PathArc { x: 0; y: root.height - root.radius; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: 0; y: root.radius }
        PathArc { x: root.radius; y: 0; radiusX: root.radius; radiusY: root.radius }
    }
}
