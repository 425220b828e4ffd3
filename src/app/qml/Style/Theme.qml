// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma Singleton
import QtQuick

// Parcelo's colours, in sRGB, and the opacities of controls that are disabled or pressed.
// Named Theme, not Palette: QtQuick has a Palette type of its own, which would win over ours in
// a file that imports both.
QtObject {
    readonly property color ink: Qt.rgba(0.16, 0.15, 0.23, 1)
    // Secondary texts of the workspace.
    readonly property color muted: Qt.rgba(0.44, 0.42, 0.49, 1)
    // Secondary texts of the settings sidebar.
    readonly property color secondary: Qt.rgba(0.45, 0.43, 0.5, 1)
    readonly property color coral: Qt.rgba(0.95, 0.38, 0.32, 1)
    readonly property color violet: Qt.rgba(0.47, 0.34, 0.88, 1)
    // Between coral and violet, the middle of the brand mark's gradient.
    readonly property color orchid: Qt.rgba(0.9, 0.38, 0.65, 1)
    readonly property color paper: Qt.rgba(0.99, 0.98, 0.97, 1)
    // The sidebar's background and the plates of its fields.
    readonly property color inset: Qt.rgba(0.955, 0.948, 0.967, 1)
    // The desktop's warning red: notes that say what is allowed, and failed images.
    readonly property color red: Qt.rgba(1.0, 0.23, 0.19, 1)
    // A verified copy: the shield line and "{saved} lighter".
    readonly property color verifiedGreen: Qt.rgba(0.16, 0.48, 0.34, 1)
    readonly property color verifiedTint: Qt.rgba(0.20, 0.78, 0.35, 0.045)
    // The check on the thumbnail of a fitted image.
    readonly property color readyGreen: Qt.rgba(0.22, 0.57, 0.4, 1)
    // The tile of the empty state and the preview stage, top left to bottom right.
    readonly property color tileFrom: Qt.rgba(1.0, 0.85, 0.77, 1)
    readonly property color tileTo: Qt.rgba(0.87, 0.81, 1.0, 1)
    readonly property color stageFrom: Qt.rgba(0.94, 0.89, 0.86, 1)
    readonly property color stageTo: Qt.rgba(0.87, 0.86, 0.98, 1)

    // Controls of the sidebar and menus.
    readonly property real disabledOpacity: 0.45
    readonly property real pressedOpacity: 0.65
    // Contents of the workspace's disabled controls.
    readonly property real dimmedOpacity: 0.4
    // The primary button's plate.
    readonly property real primaryDisabledOpacity: 0.28
    readonly property real primaryPressedOpacity: 0.8
}
