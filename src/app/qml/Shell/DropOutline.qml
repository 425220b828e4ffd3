// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Shapes
import Parcelo.Style

// The highlight drawn over the whole view while files are dragged over it: a dashed violet
// rounded outline 5 points inside the edges. It never takes the mouse.
Shape {
    id: root

    readonly property real inset: 5 + border.strokeWidth / 2
    readonly property real radius: 14

    objectName: "dropOutline"
    enabled: false

    ShapePath {
        id: border

        strokeColor: Theme.violet
        strokeWidth: 3
        fillColor: "transparent"
        strokeStyle: ShapePath.DashLine
        // Dashes are measured in stroke widths: 10-point dashes and gaps.
        dashPattern: [10 / 3, 10 / 3]
        startX: root.inset + root.radius
        startY: root.inset

        PathLine { x: root.width - root.inset - root.radius; y: root.inset }
        PathArc { x: root.width - root.inset; y: root.inset + root.radius; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: root.width - root.inset; y: root.height - root.inset - root.radius }
        PathArc { x: root.width - root.inset - root.radius; y: root.height - root.inset; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: root.inset + root.radius; y: root.height - root.inset }
        PathArc { x: root.inset; y: root.height - root.inset - root.radius; radiusX: root.radius; radiusY: root.radius }
        PathLine { x: root.inset; y: root.inset + root.radius }
        PathArc { x: root.inset + root.radius; y: root.inset; radiusX: root.radius; radiusY: root.radius }
    }
}
