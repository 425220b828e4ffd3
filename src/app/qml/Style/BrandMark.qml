// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Qt5Compat.GraphicalEffects as Effects

// Parcelo's square mark: a coral-to-violet tile with a pair of inward-pointing arrows.
Item {
    id: root

    property real size: 24

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Rectangle {
        id: tile

        anchors.fill: parent
        radius: root.size * 0.25
        visible: false
    }

    Effects.LinearGradient {
        anchors.fill: parent
        source: tile
        start: Qt.point(0, 0)
        end: Qt.point(root.size, root.size)
        gradient: Gradient {
            GradientStop { position: 0.0; color: Theme.coral }
            GradientStop { position: 0.5; color: Theme.orchid }
            GradientStop { position: 1.0; color: Theme.violet }
        }
    }

    Symbol {
        anchors.centerIn: parent
        name: "arrow.down.right.and.arrow.up.left"
        color: "white"
        size: root.size * 0.46
    }
}
