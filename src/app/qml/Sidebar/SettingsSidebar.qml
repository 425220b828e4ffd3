// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Parcelo.Style
import Parcelo.Model
import Parcelo

// The left column of the window: the recipe in force and the requirements of the batch. It holds
// no requirement of its own; every control reads and writes the model.
Rectangle {
    id: root

    implicitWidth: 246
    implicitHeight: 600
    color: Theme.inset

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.margins: 14
            Layout.bottomMargin: 10
            spacing: 8

            BrandMark {
                size: 24
            }
            Text {
                text: "Parcelo"
                color: Theme.ink
                font.pixelSize: 18
                font.weight: Font.Bold
                font.letterSpacing: -0.5
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }

        ScrollView {
            id: scroll

            objectName: "settingsColumn"
            Layout.fillWidth: true
            Layout.fillHeight: true
            enabled: AppModel.canEditRequirements
            contentWidth: availableWidth
            ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

            ColumnLayout {
                width: scroll.availableWidth - 20
                x: 10
                spacing: 6

                RecipeToolbar {
                    Layout.fillWidth: true
                    Layout.bottomMargin: 2
                }
                SizeCard {
                    Layout.fillWidth: true
                }
                DimensionsCard {
                    Layout.fillWidth: true
                }
                FormatCard {
                    Layout.fillWidth: true
                }
            }
        }

        RowLayout {
            id: footer

            objectName: "footer"
            Layout.margins: 14
            Layout.topMargin: 8
            spacing: 5

            HoverHandler {
                id: footerHover
            }
            HoverHelp {
                objectName: "footerHelp"
                visible: footerHover.hovered
                text: "Your images never leave this computer. Parcelo saves new copies and never changes your originals."
            }

            Symbol {
                name: "lock.shield"
                color: Theme.secondary
                size: 11
            }
            Text {
                text: "On this computer. Originals kept."
                color: Theme.secondary
                font.pixelSize: 9
                Accessible.name: text
                Accessible.description: "Your images never leave this computer. Parcelo saves new copies and never changes your originals."
            }
        }
    }
}
