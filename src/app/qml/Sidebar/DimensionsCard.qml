// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style
import Parcelo.Model

// Flexible (a maximum edge) or exact pixels (a width and a height), with notes on what is allowed.
SettingsCard {
    id: root

    property bool showEdgePicker: false

    title: "Dimensions"
    icon: "arrow.up.left.and.arrow.down.right"

    InsetTrack {
        Layout.fillWidth: true

        SidebarChoice {
            objectName: "flexibleChoice"
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            text: "Flexible"
            filled: true
            selected: !AppModel.requirements.exactPixels
            onClicked: AppModel.requirements.exactPixels = false
        }
        SidebarChoice {
            objectName: "exactChoice"
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            text: "Exact pixels"
            filled: true
            selected: AppModel.requirements.exactPixels
            onClicked: AppModel.requirements.exactPixels = true
        }
    }

    T.Button {
        id: edgeButton

        objectName: "edgeButton"
        Layout.fillWidth: true
        visible: !AppModel.requirements.exactPixels
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        horizontalPadding: 8
        verticalPadding: 6
        opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
        Accessible.name: "Maximum edge"
        Accessible.description: AppModel.requirements.edgeDescription
        onClicked: root.showEdgePicker = !root.showEdgePicker

        contentItem: RowLayout {
            spacing: 6

            Text {
                text: "Max. edge"
                color: Theme.secondary
                font.pixelSize: 11
            }
            Text {
                objectName: "edgeValue"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                text: AppModel.requirements.maxEdge === 0 ? "Original" : AppModel.requirements.maxEdge + " px"
                color: Theme.ink
                font.pixelSize: 11
                font.weight: Font.Medium
            }
            Symbol {
                name: "chevron.down"
                color: Theme.secondary
                size: 8
            }
        }

        background: Rectangle {
            radius: 6
            color: Theme.inset

            FocusRing {
                control: edgeButton
                controlRadius: 6
            }
        }

        SidebarPopover {
            objectName: "edgePicker"
            width: 200
            visible: root.showEdgePicker
            enabled: edgeButton.enabled
            onClosed: root.showEdgePicker = false

            contentItem: ColumnLayout {
                spacing: 2

                Text {
                    Layout.bottomMargin: 4
                    leftPadding: 8
                    text: "Maximum edge"
                    color: Theme.ink
                    font.pixelSize: 13
                }

                Repeater {
                    model: AppModel.requirements.edgeChoices

                    CheckRow {
                        required property var modelData

                        objectName: "edgeChoice" + modelData.edge
                        Layout.fillWidth: true
                        text: modelData.label
                        checked: AppModel.requirements.maxEdge === modelData.edge
                        onClicked: {
                            AppModel.requirements.maxEdge = modelData.edge
                            root.showEdgePicker = false
                        }
                    }
                }
            }
        }
    }

    RowLayout {
        Layout.fillWidth: true
        visible: AppModel.requirements.exactPixels
        spacing: 6

        PixelField {
            fieldName: "widthField"
            caption: "W"
            text: AppModel.requirements.pixelWidth
            accessibleName: "Exact width in pixels"
            onTextEdited: AppModel.requirements.pixelWidth = text
        }
        Symbol {
            name: "multiply"
            color: Theme.secondary
            size: 10
        }
        PixelField {
            fieldName: "heightField"
            caption: "H"
            text: AppModel.requirements.pixelHeight
            accessibleName: "Exact height in pixels"
            onTextEdited: AppModel.requirements.pixelHeight = text
        }
    }

    Text {
        objectName: "dimensionsNote"
        Layout.fillWidth: true
        text: AppModel.requirements.dimensionsNote
        color: AppModel.requirements.dimensionsNoteWarns ? Theme.red : Theme.secondary
        font.pixelSize: 9
        wrapMode: Text.Wrap
    }
}
