// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick

// Parcelo's square mark: a coral-to-violet tile with a pair of inward-pointing arrows.
Item {
    id: root

    property real size: 24

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    RoundedGradient {
        anchors.fill: parent
        radius: root.size * 0.25
        from: Theme.coral
        middle: Theme.orchid
        to: Theme.violet
    }

    Symbol {
        anchors.centerIn: parent
        name: "arrow.down.right.and.arrow.up.left"
        color: "white"
        size: root.size * 0.46
    }
}
