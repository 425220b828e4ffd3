// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style

// A number of a requirement: its caption, a borderless field and an optional unit on an inset plate.
Rectangle {
    id: root

    property string caption
    property string unit
    property string accessibleName
    property string accessibleDescription
    property alias fieldName: field.objectName
    property alias text: field.text
    signal textEdited

    // Puts the cursor in the field; the keyboard's ring shows when the keyboard brought it.
    function focusField(byKeyboard: bool) {
        field.forceActiveFocus(byKeyboard ? Qt.TabFocusReason : Qt.MouseFocusReason)
    }

    Layout.fillWidth: true
    implicitHeight: field.implicitHeight + 10
    radius: 6
    color: Theme.inset
    // A field being typed in is ringed, whatever brought the cursor there.
    border.width: field.activeFocus ? 2 : 0
    border.color: Theme.violet
    Accessible.ignored: true

    FocusRing {
        shown: field.activeFocus
        controlRadius: 6
    }

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
            ownsRing: false
            inputMethodHints: Qt.ImhDigitsOnly
            Accessible.name: root.accessibleName
            Accessible.description: root.accessibleDescription
            onTextEdited: root.textEdited()
        }
        Text {
            visible: root.unit !== ""
            text: root.unit
            color: Theme.secondary
            font.pixelSize: 9
            font.weight: Font.Medium
        }
    }
}
