// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import Parcelo.Style

// A borderless text field of the settings sidebar, ringed while it takes typing (or its plate
// is, when `ownsRing` is false).
TextField {
    id: root

    property bool ownsRing: true

    color: Theme.ink
    placeholderTextColor: Qt.alpha(Theme.secondary, 0.6)
    selectByMouse: true
    padding: 0
    opacity: enabled ? 1.0 : Theme.disabledOpacity
    background: Item {
        FocusRing {
            shown: root.ownsRing && root.activeFocus
            controlRadius: 4
        }
    }
    Accessible.role: Accessible.EditableText
}
