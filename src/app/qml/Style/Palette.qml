// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma Singleton
import QtQuick

// The workspace's colours, in sRGB at full opacity.
// QtQuick has a type of its own named Palette, which wins over this one in a file that imports
// both unqualified: use it through a qualified import, `import Parcelo.Style as Style` and
// `Style.Palette.ink`.
QtObject {
    readonly property color ink: Qt.rgba(0.16, 0.15, 0.23, 1)
    readonly property color muted: Qt.rgba(0.44, 0.42, 0.49, 1)
    readonly property color coral: Qt.rgba(0.95, 0.38, 0.32, 1)
    readonly property color violet: Qt.rgba(0.47, 0.34, 0.88, 1)
    readonly property color paper: Qt.rgba(0.99, 0.98, 0.97, 1)
}
