// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style

// One exact side: its one-letter caption and a borderless field on an inset plate.
Rectangle {
    id: root

    property string caption
    property string accessibleName
    property alias fieldName: field.objectName
    property alias text: field.text
    signal textEdited

    Layout.fillWidth: true
    implicitHeight: field.implicitHeight + 10
    radius: 6
    color: Theme.inset
    Accessible.ignored: true

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 7
        anchors.rightMargin: 7
        spacing: 5

        Text {
            text: root.caption
            color: Theme.secondary
            font.pixelSize: 9
            font.weight: Font.Medium
        }
        SidebarField {
            id: field

            Layout.fillWidth: true
            font.pixelSize: 12
            font.weight: Font.Medium
            inputMethodHints: Qt.ImhDigitsOnly
            Accessible.name: root.accessibleName
            onTextEdited: root.textEdited()
        }
    }
}
