// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import Qt5Compat.GraphicalEffects as Effects
import Parcelo.Style

// A popover below the control that opens it. A click outside closes it; a click on that control
// is left to the control, which toggles it.
Popup {
    id: root

    y: parent ? parent.height + 4 : 0
    padding: 12
    modal: false
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent

    background: Item {
        Effects.DropShadow {
            anchors.fill: plate
            source: plate
            radius: 12
            samples: 25
            verticalOffset: 3
            color: Qt.alpha(Theme.ink, 0.18)
        }

        Rectangle {
            id: plate

            anchors.fill: parent
            radius: 10
            color: "white"
            border.width: 1
            border.color: Qt.alpha(Theme.ink, 0.1)
        }
    }
}
