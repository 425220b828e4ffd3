// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model

// The recipes to choose from: the examples, then the user's own. A check mark follows the
// requirements, so every recipe whose settings are the current ones is checked.
ColumnLayout {
    id: root

    signal chosen

    spacing: 2

    Text {
        leftPadding: 8
        text: "Upload recipes"
        color: Theme.ink
        font.pixelSize: 13
        font.weight: Font.DemiBold
    }
    Text {
        Layout.bottomMargin: 4
        leftPadding: 8
        text: "Examples · check your own requirements"
        color: Theme.secondary
        font.pixelSize: 10
    }

    // One row per recipe, the examples' and the user's alike, checked while its settings are the
    // current ones. Fills the width of a layout and of a column.
    Component {
        id: recipeRow

        CheckRow {
            required property var modelData

            objectName: "recipeRow " + modelData.name
            Layout.fillWidth: true
            width: parent ? parent.width : implicitWidth
            text: modelData.name
            checked: modelData.matches
            // Closes first: applying the recipe remakes the rows, this one too.
            onClicked: {
                const id = modelData.id
                root.chosen()
                AppModel.requirements.applyRecipe(id)
            }
        }
    }

    Repeater {
        model: AppModel.requirements.exampleRecipes
        delegate: recipeRow
    }

    Rectangle {
        Layout.fillWidth: true
        Layout.topMargin: 4
        Layout.bottomMargin: 4
        visible: AppModel.requirements.recipes.length > 0
        implicitHeight: 1
        color: Qt.alpha(Theme.ink, 0.1)
    }
    Text {
        objectName: "yourRecipesCaption"
        leftPadding: 8
        visible: AppModel.requirements.recipes.length > 0
        text: "Your recipes"
        color: Theme.ink
        font.pixelSize: 10
        font.weight: Font.DemiBold
    }

    // Every recipe row is made at once (there are at most 20), so the list knows its height.
    Flickable {
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(userRows.implicitHeight, 180)
        visible: AppModel.requirements.recipes.length > 0
        clip: true
        contentHeight: userRows.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        Column {
            id: userRows

            width: parent.width
            spacing: 2

            Repeater {
                model: AppModel.requirements.recipes
                delegate: recipeRow
            }
        }
    }
}
