// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style
import Parcelo.Model
import "IntegerText.js" as IntegerText

// Flexible (a maximum edge) or exact pixels (a width and a height), with notes on what is allowed.
SettingsCard {
    id: root

    property bool showEdgePicker: false
    readonly property var edgeChoices: [0, 2560, 1920, 1280, 800]
    readonly property bool validPixels: IntegerText.within(AppModel.pixelWidth, 64, 4096)
                                        && IntegerText.within(AppModel.pixelHeight, 64, 4096)

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
            selected: !AppModel.exactPixels
            onClicked: {
                AppModel.exactPixels = false
                AppModel.settingsChanged()
            }
        }
        SidebarChoice {
            objectName: "exactChoice"
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            text: "Exact pixels"
            filled: true
            selected: AppModel.exactPixels
            onClicked: {
                AppModel.exactPixels = true
                AppModel.settingsChanged()
            }
        }
    }

    T.Button {
        id: edgeButton

        objectName: "edgeButton"
        Layout.fillWidth: true
        visible: !AppModel.exactPixels
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        horizontalPadding: 8
        verticalPadding: 6
        opacity: !enabled ? Theme.disabledOpacity : down ? Theme.pressedOpacity : 1.0
        Accessible.name: "Maximum edge"
        Accessible.description: AppModel.maxEdge === 0 ? "Original, up to 8192 pixels" : AppModel.maxEdge + " pixels"
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
                text: AppModel.maxEdge === 0 ? "Original" : AppModel.maxEdge + " px"
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
                    model: root.edgeChoices

                    CheckRow {
                        required property int modelData

                        objectName: "edgeChoice" + modelData
                        Layout.fillWidth: true
                        text: modelData === 0 ? "Original · up to 8192 px" : modelData + " px"
                        checked: AppModel.maxEdge === modelData
                        onClicked: {
                            AppModel.maxEdge = modelData
                            AppModel.settingsChanged()
                            root.showEdgePicker = false
                        }
                    }
                }
            }
        }
    }

    RowLayout {
        Layout.fillWidth: true
        visible: AppModel.exactPixels
        spacing: 6

        PixelField {
            fieldName: "widthField"
            caption: "W"
            text: AppModel.pixelWidth
            accessibleName: "Exact width in pixels"
            onTextEdited: AppModel.pixelWidth = text
            onTextChanged: AppModel.settingsChanged()
        }
        Symbol {
            name: "multiply"
            color: Theme.secondary
            size: 10
        }
        PixelField {
            fieldName: "heightField"
            caption: "H"
            text: AppModel.pixelHeight
            accessibleName: "Exact height in pixels"
            onTextEdited: AppModel.pixelHeight = text
            onTextChanged: AppModel.settingsChanged()
        }
    }

    Text {
        objectName: "dimensionsNote"
        Layout.fillWidth: true
        readonly property bool warning: AppModel.exactPixels && !root.validPixels
        text: !AppModel.exactPixels
              ? (AppModel.maxEdge === 0 ? "Up to 8192 px. May shrink to fit.\nNever enlarged."
                                        : "May shrink to fit the KB limit.\nNever enlarged.")
              : warning ? "Use 64–4096 pixels for each side." : "Adjust each crop in the preview.\n64–4096 px per side."
        color: warning ? Theme.red : Theme.secondary
        font.pixelSize: 9
        wrapMode: Text.Wrap
    }
}
