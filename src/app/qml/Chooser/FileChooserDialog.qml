// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// Parcelo's own file chooser, for sessions where the desktop offers none: several images and
// folders to add, or the folder to save into. Click, Ctrl-click and Shift-click select; the
// arrows, Space, Ctrl+A, Return and Backspace do the same from the keyboard. What is listed,
// what is selected and what the button returns all come from the chooser's folder listing.
Dialog {
    id: root

    readonly property FolderBrowser browser: FileChooser.browser
    // The field for a new folder's name is open.
    property bool naming: false

    title: browser.title
    modal: true
    anchors.centerIn: parent
    width: 640
    height: 460
    padding: 0
    font.pixelSize: 13
    onOpened: {
        naming = false
        entries.forceActiveFocus()
    }
    onAccepted: FileChooser.acceptBrowsed()

    background: Rectangle {
        radius: 14
        color: Theme.paper
        border.color: Qt.alpha(Theme.ink, 0.1)
    }
    Overlay.modal: Rectangle {
        color: Qt.alpha(Theme.ink, 0.25)
    }

    header: ColumnLayout {
        spacing: 10

        Label {
            Layout.topMargin: 18
            Layout.leftMargin: 20
            text: root.title
            font.pixelSize: 15
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        RowLayout {
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            Layout.bottomMargin: 10
            spacing: 8

            PathBar {
                Layout.fillWidth: true
                browser: root.browser
            }
            SecondaryButton {
                objectName: "chooserNewFolder"
                visible: root.browser.canMakeFolder
                symbol: "folder.badge.plus"
                text: "New Folder"
                verticalPadding: 6
                onClicked: {
                    root.naming = true
                    folderName.text = ""
                    folderName.forceActiveFocus()
                }
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        // The user's usual folders.
        ListView {
            objectName: "chooserPlaces"
            Layout.preferredWidth: 150
            Layout.fillHeight: true
            Layout.topMargin: 6
            model: root.browser.places
            interactive: false

            delegate: PlaceButton {
                onChosen: folder => {
                    root.browser.folder = folder
                    entries.forceActiveFocus()
                }
            }
        }

        Rectangle {
            Layout.preferredWidth: 1
            Layout.fillHeight: true
            color: Qt.alpha(Theme.ink, 0.07)
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            // The name of a new folder, made in the folder shown on Return.
            TextField {
                id: folderName

                objectName: "chooserFolderName"
                visible: root.naming
                Layout.fillWidth: true
                Layout.margins: 8
                placeholderText: "Name of the new folder"
                selectByMouse: true
                color: Theme.ink
                placeholderTextColor: Qt.alpha(Theme.muted, 0.7)
                Accessible.name: "New folder name"
                background: Rectangle {
                    implicitHeight: 30
                    radius: 6
                    color: "white"
                    border.width: 1
                    border.color: Qt.alpha(Theme.ink, 0.18)

                    FocusRing {
                        shown: folderName.activeFocus
                        controlRadius: 6
                    }
                }
                onAccepted: if (root.browser.makeFolder(text)) {
                    root.naming = false
                    entries.forceActiveFocus()
                }
                Keys.onEscapePressed: {
                    root.naming = false
                    entries.forceActiveFocus()
                }
            }

            EntryList {
                id: entries

                Layout.fillWidth: true
                Layout.fillHeight: true
                browser: root.browser
                onConfirmed: root.accept()
            }
        }
    }

    footer: RowLayout {
        spacing: 8

        Label {
            objectName: "chooserChoice"
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.topMargin: 12
            Layout.bottomMargin: 16
            text: root.browser.problem !== "" ? root.browser.problem : root.browser.choiceText
            color: root.browser.problem !== "" ? Theme.red : Theme.muted
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            font.pixelSize: 12
        }
        SecondaryButton {
            objectName: "chooserCancel"
            Layout.topMargin: 12
            Layout.bottomMargin: 16
            text: "Cancel"
            onClicked: root.reject()
        }
        PrimaryButton {
            objectName: "chooserAccept"
            Layout.topMargin: 12
            Layout.bottomMargin: 16
            Layout.rightMargin: 20
            text: root.browser.acceptText
            enabled: root.browser.canAccept
            onClicked: root.accept()
        }
    }
}
