// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model
import "IntegerText.js" as IntegerText

// The size limit: a custom field in kilobytes, four presets and a note on the allowed range.
SettingsCard {
    id: root

    readonly property var presets: [200, 500, 1000, 2000]
    readonly property bool inRange: AppModel.targetKB >= 10 && AppModel.targetKB <= 25000

    title: "File size"
    icon: "arrow.down.document"

    RowLayout {
        Layout.fillWidth: true
        spacing: 6

        SidebarField {
            id: sizeField

            objectName: "sizeField"
            Layout.fillWidth: true
            text: AppModel.customKB
            placeholderText: "Limit"
            font.pixelSize: 25
            font.weight: Font.DemiBold
            inputMethodHints: Qt.ImhDigitsOnly
            Accessible.name: "Custom limit in kilobytes"
            Accessible.description: "10 to 25,000 kilobytes per image"
            onTextEdited: AppModel.customKB = text
            // Typed, or set by a preset or a recipe: the limit follows the text.
            onTextChanged: {
                AppModel.targetKB = IntegerText.value(text) ?? 0
                AppModel.settingsChanged()
            }
        }

        Text {
            // On the baseline of the limit's digits.
            Layout.alignment: Qt.AlignBottom
            Layout.bottomMargin: sizeField.height - sizeField.baselineOffset - (height - baselineOffset)
            text: "KB max"
            color: Theme.secondary
            font.pixelSize: 10
            font.weight: Font.Medium
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 3

        Repeater {
            model: root.presets

            SidebarChoice {
                required property int modelData

                objectName: "sizePreset" + modelData
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: modelData <= 999 ? modelData + " KB" : modelData / 1000 + " MB"
                selected: AppModel.targetKB === modelData
                filled: false
                onClicked: {
                    AppModel.targetKB = modelData
                    AppModel.customKB = String(modelData)
                    AppModel.settingsChanged()
                }
            }
        }
    }

    Text {
        objectName: "sizeNote"
        Layout.fillWidth: true
        text: root.inRange ? "Per image · 10 KB to 25 MB" : "Enter a limit from 10 to 25,000 KB."
        color: root.inRange ? Theme.secondary : Theme.red
        font.pixelSize: 9
        wrapMode: Text.Wrap
    }
}
