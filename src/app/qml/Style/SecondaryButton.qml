// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style

// The ordinary push button of the workspace: ink text, with an optional symbol before it, on a
// white plate with a hairline border.
T.Button {
    id: root

    // A symbol name shown before the text; empty for none.
    property string symbol

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: 14
    verticalPadding: 10
    font.pixelSize: 12
    font.weight: Font.Medium
    Accessible.name: text

    contentItem: RowLayout {
        spacing: 6
        opacity: root.enabled ? 1 : Theme.dimmedOpacity

        Symbol {
            visible: root.symbol !== ""
            name: root.symbol
            size: 12
            color: Theme.ink
        }
        Text {
            text: root.text
            font: root.font
            color: Theme.ink
        }
    }

    background: Rectangle {
        radius: 8
        color: root.down ? Qt.alpha(Theme.ink, 0.06) : "white"
        border.width: 1
        border.color: Qt.alpha(Theme.ink, 0.14)

        FocusRing {
            control: root
            controlRadius: 8
        }
    }
}
