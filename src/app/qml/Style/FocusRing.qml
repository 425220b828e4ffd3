// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T

// The ring around the control that the keyboard has reached (Tab, Shift+Tab): violet, just
// outside the control's own shape. A control puts it in its background and names itself.
Rectangle {
    id: root

    // The control whose keyboard focus the ring shows.
    required property T.Control control
    // The control's own corner radius; the ring follows it at a distance.
    property real controlRadius: 8

    anchors.fill: parent
    anchors.margins: -3
    radius: controlRadius + 3
    visible: control.visualFocus
    color: "transparent"
    border.width: 2
    border.color: Theme.violet
}
