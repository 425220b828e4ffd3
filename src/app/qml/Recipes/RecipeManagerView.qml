// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model

// Saves the current requirements as a recipe under a name, and re-applies or deletes saved
// recipes. The recipe library decides what may be saved; the form reports the outcome.
ColumnLayout {
    id: root

    property string name
    property string feedback
    // The form is done: "Done", Escape, or a recipe applied from the list.
    signal dismiss

    function save() {
        if (AppModel.requirements.saveRecipe(name)) {
            feedback = "Saved. Choose it from Upload recipes whenever you need it."
            name = ""
        } else {
            feedback = "Use a name of 1–40 characters, valid requirements and no more than 20 recipes."
        }
    }

    spacing: 10

    Text {
        text: "Make it a recipe."
        color: Theme.ink
        font.pixelSize: 27
        font.weight: Font.Bold
    }
    Text {
        Layout.fillWidth: true
        text: "Save these requirements for your next batch. Recipes stay on this computer."
        color: Theme.ink
        font.pixelSize: 12
        wrapMode: Text.Wrap
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: summary.implicitHeight + 16
        radius: 10
        color: Qt.alpha(Theme.violet, 0.06)

        Text {
            id: summary

            objectName: "recipeSummary"
            anchors.fill: parent
            anchors.margins: 8
            text: AppModel.requirements.summary
            color: Theme.ink
            font.pixelSize: 13
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        TextField {
            id: nameField

            objectName: "recipeNameField"
            Layout.fillWidth: true
            text: root.name
            placeholderText: "Recipe name"
            placeholderTextColor: Qt.alpha(Theme.secondary, 0.7)
            color: Theme.ink
            font.pixelSize: 12
            leftPadding: 8
            rightPadding: 8
            selectByMouse: true
            focus: true
            Accessible.name: "Recipe name"
            onTextEdited: root.name = text
            background: Rectangle {
                implicitHeight: 28
                radius: 6
                color: "white"
                border.width: 1
                border.color: Qt.alpha(Theme.ink, 0.18)

                FocusRing {
                    shown: nameField.activeFocus
                    controlRadius: 6
                }
            }
        }
        PopoverButton {
            objectName: "saveRecipeButton"
            text: "Save recipe"
            enabled: AppModel.requirements.canSaveRecipe && AppModel.requirements.isRecipeName(root.name)
            onClicked: root.save()
        }
    }

    Text {
        Layout.fillWidth: true
        text: "Saving an existing name replaces that recipe. Up to 20 recipes."
        color: Theme.secondary
        font.pixelSize: 10
        wrapMode: Text.Wrap
    }
    Text {
        objectName: "recipeFeedback"
        Layout.fillWidth: true
        visible: root.feedback !== ""
        text: root.feedback
        color: Theme.ink
        font.pixelSize: 10
        wrapMode: Text.Wrap
        // Read out as it changes.
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.description: "Updates after each save"
    }

    Rectangle {
        Layout.fillWidth: true
        visible: AppModel.requirements.recipes.length > 0
        implicitHeight: 1
        color: Qt.alpha(Theme.ink, 0.1)
    }
    // Every row is made at once (there are at most 20), so the list knows its height.
    Flickable {
        objectName: "recipeList"
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(rows.implicitHeight, 180)
        visible: AppModel.requirements.recipes.length > 0
        clip: true
        contentHeight: rows.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        Column {
            id: rows

            width: parent.width
            spacing: 4

            Repeater {
                model: AppModel.requirements.recipes
                // Connected here: a row is made by a component, out of reach of this file's ids.
                onItemAdded: (index, item) => (item as RecipeManagerRow).applied.connect(root.dismiss)

                RecipeManagerRow {
                    width: parent.width
                }
            }
        }
    }

    PopoverButton {
        objectName: "doneButton"
        Layout.alignment: Qt.AlignRight
        text: "Done"
        onClicked: root.dismiss()
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.dismiss()
    }
}
