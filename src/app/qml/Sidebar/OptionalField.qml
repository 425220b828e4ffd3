// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style

// An optional requirement of a card: its caption, field and unit on an inset plate, and a button
// that removes it. Shown once the user asks for it, and whenever its field holds a value.
RowLayout {
    id: root

    property alias caption: plate.caption
    property alias unit: plate.unit
    property alias fieldName: plate.fieldName
    property alias text: plate.text
    property alias accessibleName: plate.accessibleName
    property alias accessibleDescription: plate.accessibleDescription
    property alias removeName: removeButton.objectName
    property string removeLabel
    // The user asked for the requirement; it stays open while empty.
    property bool requested: false

    signal textEdited(string text)
    // The requirement was removed: the owner clears its value and takes the focus back.
    signal removed(bool byKeyboard)

    // Opens the field and puts the cursor in it, with the keyboard's ring when it came by keyboard.
    function open(byKeyboard: bool) {
        requested = true
        plate.focusField(byKeyboard)
    }

    visible: requested || text !== ""
    spacing: 4

    PixelField {
        id: plate

        onTextEdited: root.textEdited(plate.text)
    }

    T.Button {
        id: removeButton

        implicitWidth: 18
        implicitHeight: 18
        Accessible.name: root.removeLabel
        opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
        onClicked: {
            root.requested = false
            root.removed(removeButton.visualFocus)
        }

        contentItem: Item {
            Symbol {
                anchors.centerIn: parent
                name: "xmark"
                color: removeButton.hovered ? Theme.violet : Theme.secondary
                size: 10
            }
        }

        background: Rectangle {
            radius: 9
            color: removeButton.hovered ? Qt.alpha(Theme.violet, 0.09) : "transparent"

            FocusRing {
                control: removeButton
                controlRadius: 9
            }
        }
    }
}
