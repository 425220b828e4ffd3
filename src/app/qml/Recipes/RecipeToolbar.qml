// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style
import Parcelo.Model

// The recipe in force, with the picker of recipes below it, and the plus button that opens the
// recipe manager.
RowLayout {
    id: root

    property bool showRecipePicker: false
    property bool showRecipes: false

    spacing: 6

    T.Button {
        id: recipeButton

        objectName: "recipeButton"
        Layout.fillWidth: true
        implicitHeight: 30
        horizontalPadding: 9
        opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
        hoverEnabled: true
        // The recipe in force, else what the button offers.
        text: AppModel.requirements.activeRecipeName !== "" ? AppModel.requirements.activeRecipeName : "Upload recipes"
        Accessible.name: text
        Accessible.description: toolTip.text
        onClicked: root.showRecipePicker = !root.showRecipePicker

        HoverHelp {
            id: toolTip

            visible: recipeButton.hovered && !picker.visible
            text: AppModel.requirements.activeRecipeName !== "" ? AppModel.requirements.activeRecipeName : "Choose an upload recipe"
        }

        contentItem: RowLayout {
            spacing: 6

            Symbol {
                name: "square.stack.3d.up"
                color: Theme.violet
                size: 14
            }
            Text {
                objectName: "recipeButtonText"
                Layout.fillWidth: true
                text: recipeButton.text
                color: Theme.ink
                font.pixelSize: 12
                font.weight: Font.Medium
                elide: Text.ElideRight
                maximumLineCount: 1
            }
            Symbol {
                name: "chevron.down"
                color: Theme.secondary
                size: 8
            }
        }

        background: Rectangle {
            radius: 8
            color: "white"
            border.width: 1
            border.color: Qt.alpha(Theme.ink, 0.08)

            FocusRing {
                control: recipeButton
            }
        }

        SidebarPopover {
            id: picker

            objectName: "recipePicker"
            width: 250
            visible: root.showRecipePicker
            enabled: recipeButton.enabled
            onClosed: root.showRecipePicker = false

            contentItem: RecipePicker {
                onChosen: root.showRecipePicker = false
            }
        }
    }

    T.Button {
        id: plusButton

        objectName: "plusButton"
        implicitWidth: 30
        implicitHeight: 30
        opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
        hoverEnabled: true
        Accessible.name: "Save or manage recipes"
        Accessible.description: "Save these settings or manage your recipes"
        onClicked: root.showRecipes = !root.showRecipes

        HoverHelp {
            objectName: "plusHelp"
            visible: plusButton.hovered && !manager.visible
            text: "Save these settings or manage your recipes"
        }

        contentItem: Item {
            Symbol {
                anchors.centerIn: parent
                name: "plus"
                color: Theme.ink
                size: 12
            }
        }

        background: Rectangle {
            radius: 8
            color: "white"
            border.width: 1
            border.color: Qt.alpha(Theme.ink, 0.08)

            FocusRing {
                control: plusButton
            }
        }

        SidebarPopover {
            id: manager

            objectName: "recipeManager"
            width: 340
            padding: 18
            visible: root.showRecipes
            onClosed: root.showRecipes = false

            // A fresh form each time it opens: no name, no feedback.
            contentItem: Loader {
                active: manager.visible
                focus: true
                sourceComponent: RecipeManagerView {}
                // Connected here: the view is made by a component, out of reach of this file's ids.
                onLoaded: (item as RecipeManagerView).dismiss.connect(() => root.showRecipes = false)
            }
        }
    }
}
