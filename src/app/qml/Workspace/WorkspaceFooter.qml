// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// Under the batch: the message line, what is loading, the fit run's progress and the batch
// actions.
ColumnLayout {
    id: root

    readonly property bool hasMessage: AppModel.message !== ""

    spacing: 10

    Rectangle {
        objectName: "messageLine"
        visible: root.hasMessage
        Layout.fillWidth: true
        implicitHeight: messageRow.implicitHeight + 16
        radius: 9
        color: Qt.alpha(Theme.ink, 0.035)

        RowLayout {
            id: messageRow

            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 8
            spacing: 8

            Symbol {
                name: "info.circle"
                size: 13
                color: Theme.ink
            }
            TextEdit {
                objectName: "messageText"
                Layout.fillWidth: true
                text: AppModel.message
                color: Theme.ink
                font.pixelSize: 12
                wrapMode: TextEdit.Wrap
                readOnly: true
                selectByMouse: true
                selectionColor: Qt.alpha(Theme.violet, 0.3)
                selectedTextColor: Theme.ink
            }
            SecondaryButton {
                objectName: "showInFolderButton"
                visible: String(AppModel.exportedDirectory) !== ""
                text: "Show in Folder"
                onClicked: AppModel.openOutside(AppModel.exportedDirectory)
            }
        }
    }

    Text {
        objectName: "activityLine"
        visible: AppModel.activity !== ""
        Layout.fillWidth: true
        text: AppModel.activity
        color: Theme.muted
        font.pixelSize: 11
        elide: Text.ElideRight
    }

    ProgressBar {
        id: progress

        objectName: "progressBar"
        visible: AppModel.busy
        Layout.fillWidth: true
        from: 0
        to: Math.max(AppModel.items.count, 1)
        value: AppModel.completed

        background: Rectangle {
            implicitHeight: 6
            radius: 3
            color: Qt.alpha(Theme.ink, 0.08)
        }
        contentItem: Item {
            implicitHeight: 6

            Rectangle {
                width: progress.visualPosition * parent.width
                height: parent.height
                radius: 3
                color: Theme.violet
            }
        }
    }

    BatchActions {
        Layout.fillWidth: true
    }
}
