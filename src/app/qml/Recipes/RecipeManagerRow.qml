// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style
import Parcelo.Model

// A saved recipe: its name applies it, the trash deletes it at once.
Rectangle {
    id: root

    required property var modelData
    signal applied

    implicitHeight: row.implicitHeight + 8
    radius: 6
    color: Theme.inset

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 4
        spacing: 6

        T.Button {
            id: applyButton

            objectName: "applyRecipe " + root.modelData.name
            Layout.fillWidth: true
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            verticalPadding: 4
            Accessible.name: root.modelData.name
            opacity: down ? Theme.pressedOpacity : 1.0
            onClicked: {
                // The form closes first: applying the recipe remakes the rows, this one too.
                const id = root.modelData.id
                root.applied()
                AppModel.requirements.applyRecipe(id)
            }
            contentItem: Text {
                text: root.modelData.name
                color: Theme.ink
                font.pixelSize: 12
                elide: Text.ElideRight
            }
            background: Item {
                FocusRing {
                    control: applyButton
                    controlRadius: 4
                }
            }
        }
        T.Button {
            id: deleteButton

            objectName: "deleteRecipe " + root.modelData.name
            implicitWidth: 24
            implicitHeight: 24
            Accessible.name: "Delete recipe " + root.modelData.name
            opacity: down ? Theme.pressedOpacity : 1.0
            onClicked: AppModel.requirements.deleteRecipe(root.modelData.id)
            contentItem: Item {
                Symbol {
                    anchors.centerIn: parent
                    name: "trash"
                    color: Theme.secondary
                    size: 14
                }
            }
            background: Item {
                FocusRing {
                    control: deleteButton
                    controlRadius: 6
                }
            }
        }
    }
}
