// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import Parcelo.Style

// A borderless text field of the settings sidebar.
TextField {
    id: root

    color: Theme.ink
    placeholderTextColor: Qt.alpha(Theme.secondary, 0.6)
    selectByMouse: true
    padding: 0
    opacity: enabled ? 1.0 : Theme.disabledOpacity
    background: null
    Accessible.role: Accessible.EditableText
}
