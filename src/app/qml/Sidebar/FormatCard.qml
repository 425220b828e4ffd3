// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model

// The output format: automatic, JPEG or PNG, with a note on what the choice means.
SettingsCard {
    id: root

    // In the order of the output formats, with their labels and notes.
    readonly property var formats: [
        { value: "auto", text: "Auto", label: "Automatic", note: "JPEG for photos. PNG for transparency." },
        { value: "jpeg", text: "JPEG", label: "JPEG · white background", note: "Transparency becomes a white background." },
        { value: "png", text: "PNG", label: "PNG · preserve transparency", note: "Keeps transparency. Can make larger files." }
    ]

    title: "Format"
    icon: "photo.on.rectangle"
    accessory: AddOptionButton {
        id: addResolution

        objectName: "addResolution"
        visible: !resolution.visible
        text: "Resolution"
        Accessible.name: "Write a resolution into the copies"
        onClicked: resolution.open(addResolution.visualFocus)
    }

    InsetTrack {
        Layout.fillWidth: true

        Repeater {
            model: root.formats

            SidebarChoice {
                required property var modelData

                objectName: "format " + modelData.value
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: modelData.text
                Accessible.name: modelData.label
                filled: true
                selected: AppModel.requirements.outputFormat === modelData.value
                onClicked: AppModel.requirements.outputFormat = modelData.value
            }
        }
    }

    OptionalField {
        id: resolution

        Layout.fillWidth: true
        caption: "Resolution"
        unit: "dpi"
        fieldName: "resolutionField"
        removeName: "removeResolution"
        removeLabel: "Remove the resolution"
        text: AppModel.requirements.resolutionDpi
        accessibleName: "Resolution in dots per inch"
        accessibleDescription: AppModel.requirements.resolutionDescription
        onTextEdited: text => AppModel.requirements.resolutionDpi = text
        onRemoved: byKeyboard => {
            AppModel.requirements.resolutionDpi = ""
            addResolution.forceActiveFocus(byKeyboard ? Qt.TabFocusReason : Qt.MouseFocusReason)
        }
    }

    Text {
        objectName: "formatNote"
        Layout.fillWidth: true
        text: AppModel.requirements.formatNote
        color: AppModel.requirements.formatNoteWarns ? Theme.red : Theme.secondary
        font.pixelSize: 9
        wrapMode: Text.Wrap
    }
}
