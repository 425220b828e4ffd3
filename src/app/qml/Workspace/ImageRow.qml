// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// One image of the batch: clicking the row makes it the current image; the cross removes it.
AbstractButton {
    id: root

    // The image's roles, as the batch list gives them.
    required property var model
    required property int index

    readonly property bool isCurrent: model.id === AppModel.current.id
    // The pointer is on the remove button, which has no hover help of the row's.
    property bool removeHovered: false

    objectName: "imageRow" + index
    hoverEnabled: true
    // The list is one stop of Tab, where the arrows and Delete act on the current image.
    focusPolicy: Qt.NoFocus
    padding: 11
    onClicked: AppModel.selected = model.id
    // The current image stays in sight, also when a fit run moves on to the next one.
    onIsCurrentChanged: if (isCurrent) ListView.view.positionViewAtIndex(index, ListView.Contain)

    Accessible.role: Accessible.Button
    Accessible.name: model.fileName + ", " + model.state
    Accessible.description: isCurrent ? "Selected" : ""
    Accessible.selectable: true
    Accessible.selected: isCurrent

    // The row shows the state on one line; its hover help has the whole of it, below the path.
    HoverHelp {
        objectName: "rowHelp"
        visible: root.hovered && !root.removeHovered
        delay: 800
        text: root.model.path + "\n" + root.model.state
    }

    background: Rectangle {
        radius: 12
        color: root.isCurrent ? Qt.alpha(Theme.violet, 0.07) : "white"

        FocusRing {
            shown: root.isCurrent && root.ListView.view.activeFocus
            controlRadius: 12
            outset: 0
        }
    }

    contentItem: RowLayout {
        spacing: 11

        Item {
            Layout.preferredWidth: 36
            Layout.preferredHeight: 36

            Rectangle {
                anchors.fill: parent
                radius: 8
                color: Qt.alpha(Theme.ink, 0.05)
                clip: true

                Image {
                    anchors.fill: parent
                    visible: root.model.thumbnail !== ""
                    source: root.model.thumbnail
                    fillMode: Image.PreserveAspectCrop
                    sourceSize.width: 72
                    sourceSize.height: 72
                    smooth: true
                }
                Symbol {
                    anchors.centerIn: parent
                    visible: root.model.thumbnail === ""
                    name: "photo"
                    size: 16
                    color: Theme.muted
                }
            }
            Symbol {
                objectName: "readyCheck"
                visible: root.model.ready
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: -4
                name: "checkmark.circle.fill"
                size: 16
                color: Theme.readyGreen
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            Text {
                objectName: "rowName"
                Layout.fillWidth: true
                text: root.model.fileName
                color: Theme.ink
                font.pixelSize: 12
                font.weight: Font.DemiBold
                elide: Text.ElideMiddle
            }
            Text {
                objectName: "rowState"
                Layout.fillWidth: true
                text: root.model.state
                color: root.model.failed ? Theme.red : Theme.muted
                font.pixelSize: 10
                elide: Text.ElideRight
            }
        }

        ColumnLayout {
            spacing: 2

            Text {
                Layout.alignment: Qt.AlignRight
                text: AppModel.decimalSize(root.model.ready ? root.model.outputBytes : root.model.inputBytes)
                color: Theme.ink
                font.pixelSize: 12
                font.weight: Font.DemiBold
            }
            Text {
                Layout.alignment: Qt.AlignRight
                visible: root.model.ready
                text: "from " + AppModel.decimalSize(root.model.inputBytes)
                color: Theme.muted
                font.pixelSize: 10
            }
        }

        RemoveButton {
            objectName: "removeButton"
            // Delete removes the current image from the keyboard.
            focusPolicy: Qt.NoFocus
            enabled: AppModel.canRemove
            onClicked: AppModel.remove(root.model.id)
            onHoveredChanged: root.removeHovered = hovered
            Accessible.name: "Remove " + root.model.fileName
        }
    }
}
