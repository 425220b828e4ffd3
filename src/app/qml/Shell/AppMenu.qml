// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls

// A menu of the menu bar, as wide as its longest title with its shortcut.
Menu {
    id: root

    delegate: ShortcutMenuItem {}
    width: {
        let widest = 0
        for (let i = 0; i < root.count; ++i) {
            const item = root.itemAt(i)
            if (item) widest = Math.max(widest, item.implicitWidth)
        }
        return Math.max(widest + root.leftPadding + root.rightPadding, 160)
    }
}
