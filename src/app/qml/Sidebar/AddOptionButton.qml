// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T
import Parcelo.Style

// The small control in a card's title line that offers an optional requirement: a plus and its
// name, quiet until pointed at, so the card looks the same to those who never use it.
T.Button {
    id: root

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: 4
    verticalPadding: 1
    font.pixelSize: 9
    font.weight: Font.Medium
    opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
    Accessible.name: text

    contentItem: Row {
        spacing: 3

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "plus"
            color: root.hovered ? Theme.violet : Theme.secondary
            size: 8
        }
        Text {
            text: root.text
            font: root.font
            color: root.hovered ? Theme.violet : Theme.secondary
        }
    }

    background: Rectangle {
        radius: 4
        color: root.hovered ? Qt.alpha(Theme.violet, 0.09) : "transparent"

        FocusRing {
            control: root
            controlRadius: 4
        }
    }
}
