// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model

// The size limit: a custom field in kilobytes, four presets and a note on the allowed range.
SettingsCard {
    id: root

    title: "File size"
    icon: "arrow.down.document"
    accessory: AddOptionButton {
        id: addMinimum

        objectName: "addMinimum"
        visible: !minimum.visible
        text: "Minimum"
        Accessible.name: "Add a minimum file size"
        onClicked: minimum.open(addMinimum.visualFocus)
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 6

        SidebarField {
            id: sizeField

            objectName: "sizeField"
            Layout.fillWidth: true
            text: AppModel.requirements.customKB
            placeholderText: "Limit"
            font.pixelSize: 25
            font.weight: Font.DemiBold
            inputMethodHints: Qt.ImhDigitsOnly
            Accessible.name: "Custom limit in kilobytes"
            Accessible.description: AppModel.requirements.sizeRangeDescription
            // The model reads the limit from the text.
            onTextEdited: AppModel.requirements.customKB = text
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
            model: AppModel.requirements.sizePresets

            SidebarChoice {
                required property var modelData

                objectName: "sizePreset" + modelData.kilobytes
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: modelData.label
                selected: AppModel.requirements.targetKB === modelData.kilobytes
                filled: false
                onClicked: AppModel.requirements.targetKB = modelData.kilobytes
            }
        }
    }

    OptionalField {
        id: minimum

        Layout.fillWidth: true
        caption: "At least"
        unit: "KB"
        fieldName: "minimumField"
        removeName: "removeMinimum"
        removeLabel: "Remove the minimum file size"
        text: AppModel.requirements.minimumKB
        accessibleName: "Minimum file size in kilobytes"
        accessibleDescription: AppModel.requirements.minimumDescription
        onTextEdited: text => AppModel.requirements.minimumKB = text
        onRemoved: byKeyboard => {
            AppModel.requirements.minimumKB = ""
            addMinimum.forceActiveFocus(byKeyboard ? Qt.TabFocusReason : Qt.MouseFocusReason)
        }
    }

    Text {
        objectName: "sizeNote"
        Layout.fillWidth: true
        text: AppModel.requirements.sizeNote
        color: AppModel.requirements.sizeNoteWarns ? Theme.red : Theme.secondary
        font.pixelSize: 9
        wrapMode: Text.Wrap
    }
}
