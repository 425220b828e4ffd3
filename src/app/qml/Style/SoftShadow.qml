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

    Repeater {
        model: root.layers

        Rectangle {
            required property int index
            // Outermost first; every layer adds its share, so the centre reaches the full colour.
            readonly property real spread: root.blur * (root.layers - index) / root.layers

            x: -spread / 2
            y: -spread / 2
            width: root.width + spread
            height: root.height + spread
            radius: root.radius + spread / 2
            color: Qt.alpha(root.color, root.color.a / root.layers)
        }
    }
}
