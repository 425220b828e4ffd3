// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T

// The primary action: white semibold text on an ink plate. Only the plate dims, so a disabled
// button reads as a pale grey-violet plate with white text.
T.Button {
    id: root

    leftPadding: 14
    rightPadding: 14
    topPadding: 10
    bottomPadding: 10
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    font.pixelSize: 12
    font.weight: Font.DemiBold

    Accessible.name: text

    contentItem: Text {
        text: root.text
        font: root.font
        color: "white"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        objectName: "primaryButtonPlate"
        radius: 11
        color: Theme.ink
        opacity: !root.enabled ? Theme.primaryDisabledOpacity : root.down ? Theme.primaryPressedOpacity : 1.0

        FocusRing {
            control: root
            controlRadius: 11
        }
    }
}
