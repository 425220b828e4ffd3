// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
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
        SoftShadow {
            anchors.fill: parent
            anchors.topMargin: 3
            anchors.bottomMargin: -3
            radius: 10
            blur: 12
            color: Qt.alpha(Theme.ink, 0.18)
        }

        Rectangle {
            anchors.fill: parent
            radius: 10
            color: "white"
            border.width: 1
            border.color: Qt.alpha(Theme.ink, 0.1)
        }
    }
}
