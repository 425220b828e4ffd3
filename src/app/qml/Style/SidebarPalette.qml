// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma Singleton
import QtQuick

// The settings sidebar's colours, in sRGB at full opacity.
QtObject {
    readonly property color ink: Qt.rgba(0.16, 0.15, 0.23, 1)
    readonly property color secondary: Qt.rgba(0.45, 0.43, 0.5, 1)
    readonly property color violet: Qt.rgba(0.47, 0.34, 0.88, 1)
    readonly property color inset: Qt.rgba(0.955, 0.948, 0.967, 1)
    // The desktop's warning red, for notes that say what is allowed.
    readonly property color red: Qt.rgba(1.0, 0.23, 0.19, 1)
}
