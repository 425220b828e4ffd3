// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Style

// One segment of a SegmentedPicker: white while it is the chosen one.
AbstractButton {
    id: root

    required property string modelData
    property bool chosen

    objectName: "segment" + modelData
    Layout.fillWidth: true
    Layout.fillHeight: true
    text: modelData
    Accessible.role: Accessible.PageTab
    Accessible.name: modelData
    Accessible.selected: chosen

    background: Rectangle {
        radius: 5
        color: root.chosen ? "white" : "transparent"

        FocusRing {
            control: root
            controlRadius: 5
        }
    }
    contentItem: Text {
        text: root.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: root.chosen ? Theme.ink : "white"
        font.pixelSize: 11
        font.weight: Font.Medium
    }
}
