// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T
import Parcelo.Style

// A choice of the settings sidebar: violet and semibold while selected, secondary otherwise.
// `filled` choices sit on an inset track and turn white when selected; the others get a violet tint.
T.Button {
    id: root

    property bool selected
    property bool filled

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: 4
    verticalPadding: 5
    font.pixelSize: 10
    font.weight: selected ? Font.DemiBold : Font.Medium
    opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0

    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: selected

    contentItem: Text {
        text: root.text
        font: root.font
        color: root.selected ? Theme.violet : Theme.secondary
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 6
        color: !root.selected ? "transparent"
             : root.filled ? "white"
             : Qt.alpha(Theme.violet, 0.09)
        border.width: root.selected && !root.filled ? 1 : 0
        border.color: Qt.alpha(Theme.violet, 0.15)

        FocusRing {
            control: root
            controlRadius: 6
        }
    }
}
