// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Style

// A title with its symbol: the symbol in violet, centred in a box 13 wide, then the title.
Row {
    id: root

    property string title
    property string icon
    property alias font: label.font
    property alias color: label.color

    spacing: 5

    Item {
        width: 13
        height: label.height

        Symbol {
            anchors.centerIn: parent
            name: root.icon
            color: Theme.violet
            size: 13
        }
    }

    Text {
        id: label

        text: root.title
        color: Theme.ink
    }
}
