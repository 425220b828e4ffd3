// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style

// A row of a popover list: its label, and a violet check mark at the trailing edge when `checked`.
T.ItemDelegate {
    id: root

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: 8
    verticalPadding: 5
    font.pixelSize: 12
    opacity: enabled ? 1.0 : Theme.disabledOpacity

    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: checked

    contentItem: RowLayout {
        spacing: 8

        Text {
            Layout.fillWidth: true
            text: root.text
            font: root.font
            color: Theme.ink
            elide: Text.ElideRight
        }

        Symbol {
            objectName: "checkmark"
            name: "checkmark"
            color: Theme.violet
            size: 12
            visible: root.checked
        }
    }

    background: Rectangle {
        radius: 6
        color: root.down ? Qt.alpha(Theme.violet, 0.14)
             : root.hovered ? Qt.alpha(Theme.violet, 0.07) : "transparent"

        FocusRing {
            control: root
            controlRadius: 6
        }
    }
}
