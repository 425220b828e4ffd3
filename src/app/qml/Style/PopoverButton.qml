// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T
import Parcelo.Style

// A secondary button of the sidebar's popovers: ink text on an inset plate.
T.Button {
    id: root

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: 12
    verticalPadding: 6
    font.pixelSize: 12
    font.weight: Font.Medium
    opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
    Accessible.name: text

    contentItem: Text {
        text: root.text
        font: root.font
        color: Theme.ink
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 6
        color: Theme.inset
        border.width: 1
        border.color: Qt.alpha(Theme.ink, 0.1)

        FocusRing {
            control: root
            controlRadius: 6
        }
    }
}
