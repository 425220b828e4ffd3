// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T

// The ring around the control that the keyboard has reached (Tab, Shift+Tab): violet, just
// outside the control's own shape. A control puts it in its background and names itself; a text
// field, which is no such control, says instead when its ring shows (while it takes typing).
Rectangle {
    id: root

    // The control whose keyboard focus the ring shows.
    property T.Control control: null
    property bool shown: control ? control.visualFocus : false
    // The control's own corner radius; the ring follows it at a distance.
    property real controlRadius: 8
    // How far outside the control the ring is drawn; 0 inside its edge, where a list clips.
    property real outset: 3

    objectName: "focusRing"
    anchors.fill: parent
    anchors.margins: -outset
    radius: controlRadius + outset
    visible: shown
    color: "transparent"
    border.width: 2
    border.color: Theme.violet
}
