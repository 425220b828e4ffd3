// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick

// A soft shadow under a rounded shape of the same size: layers of growing, fainter rounded
// rectangles whose overlap fades out over `blur` points. Plain rectangles, so that it shows
// with every scene graph backend.
Item {
    id: root

    property real radius: 0
    property real blur: 18
    property color color
    readonly property int layers: 9

    // Outermost first; every layer adds its share, so the centre reaches the full colour.
    // A delegate does not reach this item's id: each layer gets its spread, corner and colour
    // from the model and its size from its parent, this item.
    readonly property color layerColor: Qt.alpha(color, color.a / layers)
    readonly property var layerShapes: Array.from({ length: layers }, (_, index) => {
        const spread = blur * (layers - index) / layers
        return { spread: spread, radius: radius + spread / 2, color: layerColor }
    })

    Repeater {
        model: root.layerShapes

        Rectangle {
            required property var modelData

            x: -modelData.spread / 2
            y: -modelData.spread / 2
            width: parent.width + modelData.spread
            height: parent.height + modelData.spread
            radius: modelData.radius
            color: modelData.color
        }
    }
}
