// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import Parcelo.Style

// The cross at the end of an image's row, which removes the image from the batch.
AbstractButton {
    id: root

    implicitWidth: 24
    implicitHeight: 24
    hoverEnabled: true
    Accessible.role: Accessible.Button

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: "xmark"
            size: 11
            color: Theme.muted
            opacity: root.enabled ? 1 : Theme.dimmedOpacity
        }
    }
    background: Rectangle {
        radius: 12
        color: root.hovered ? Qt.alpha(Theme.ink, 0.06) : "transparent"
    }
}
