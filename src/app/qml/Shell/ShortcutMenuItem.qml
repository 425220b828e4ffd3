// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Style

// A menu item that shows its action's shortcut at the right, as desktop menus do.
MenuItem {
    id: root

    readonly property string shortcutText: root.action && root.action.shortcut
                                          ? String(root.action.shortcut).replace("Return", "Enter") : ""

    leftPadding: 12
    rightPadding: 12
    implicitHeight: 30
    font.pixelSize: 13

    contentItem: RowLayout {
        spacing: 24

        Label {
            Layout.fillWidth: true
            leftPadding: root.indicator && root.checkable ? root.indicator.width + root.spacing : 0
            text: root.text
            font: root.font
            color: root.palette.windowText
            opacity: root.enabled ? 1.0 : Theme.disabledOpacity
            elide: Text.ElideRight
        }
        Label {
            visible: root.shortcutText !== ""
            text: root.shortcutText
            font: root.font
            color: root.palette.windowText
            opacity: root.enabled ? 0.6 : 0.3
        }
    }
}
