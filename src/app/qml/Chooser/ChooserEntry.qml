// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style

// One folder or image of the chooser's list. Clicks are taken by the list, which knows the
// keyboard's modifiers; the entry only draws its name, whether it is selected, and whether the
// keyboard is on it.
Item {
    id: root

    // The entry's roles, as the folder listing gives them.
    required property int index
    required property string name
    required property bool isFolder
    required property bool selected
    // The keyboard is on this entry, in a list that has the focus.
    property bool keyboardHere: false

    objectName: "chooserEntry " + name
    implicitHeight: 30

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.selectable: true
    Accessible.selected: selected

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 4
        anchors.rightMargin: 4
        radius: 6
        color: root.selected ? Qt.alpha(Theme.violet, 0.14) : "transparent"
        border.width: root.keyboardHere ? 2 : 0
        border.color: Theme.violet
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        spacing: 8

        Symbol {
            name: root.isFolder ? "folder" : "photo"
            size: 16
            color: root.isFolder ? Theme.violet : Theme.muted
        }
        Text {
            Layout.fillWidth: true
            text: root.name
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            font.pixelSize: 13
            font.weight: root.selected ? Font.DemiBold : Font.Normal
            color: Theme.ink
        }
    }
}
