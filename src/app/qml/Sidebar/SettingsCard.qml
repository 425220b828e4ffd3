// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style

// A titled box of the settings sidebar: the title with its symbol, then the card's controls.
Rectangle {
    id: root

    property string title
    property string icon
    default property alias content: body.data
    // A small control at the end of the title line.
    property alias accessory: accessorySlot.data

    implicitHeight: column.implicitHeight + 2 * 10
    radius: 12
    color: Qt.rgba(1, 1, 1, 0.9)
    border.width: 1
    border.color: Qt.alpha(Theme.ink, 0.08)

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 10
        spacing: 7

        RowLayout {
            Layout.fillWidth: true
            spacing: 4

            CardTitle {
                Layout.fillWidth: true
                title: root.title
                icon: root.icon
                font.pixelSize: 11
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Accessible.name: root.title
            }
            Row {
                id: accessorySlot
            }
        }

        ColumnLayout {
            id: body

            Layout.fillWidth: true
            spacing: 7
        }
    }
}
