// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T

// Hover help in Parcelo's look: white 12-point text on a rounded ink plate, above the control it
// explains, wrapped when long (a path and a failure's advice). The style's own tooltip takes the
// desktop's larger tooltip size and a square plate.
T.ToolTip {
    id: root

    x: parent ? (parent.width - width) / 2 : 0
    y: -height - 6
    width: Math.min(implicitContentWidth + leftPadding + rightPadding, 380)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: 6
    horizontalPadding: 9
    verticalPadding: 6
    delay: 600
    font.pixelSize: 12
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        font: root.font
        color: "white"
        wrapMode: Text.Wrap
    }

    background: Rectangle {
        radius: 7
        color: Theme.ink
    }
}
