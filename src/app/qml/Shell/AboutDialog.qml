// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// "About Parcelo": the mark, the name, the version and the product's promise.
Dialog {
    id: root

    title: "About Parcelo"
    modal: true
    anchors.centerIn: parent
    width: 360
    padding: 24
    // The mark and the name below say what the box is; the title stays for screen readers.
    header: null
    font.pixelSize: 13

    background: Rectangle {
        radius: 14
        color: Theme.paper
        border.color: Qt.alpha(Theme.ink, 0.1)
    }
    Overlay.modal: Rectangle {
        color: Qt.alpha(Theme.ink, 0.25)
    }
    // Without a plate of its own, so that the box keeps its rounded corners.
    footer: DialogButtonBox {
        standardButtons: Dialog.Ok
        background: null
        delegate: SecondaryButton {}
    }

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        spacing: 10

        Image {
            Layout.alignment: Qt.AlignHCenter
            source: "qrc:/icons/app.parcelo.Parcelo.svg"
            sourceSize.width: 72
            sourceSize.height: 72
            Accessible.ignored: true
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "Parcelo"
            font.pixelSize: 20
            font.weight: Font.DemiBold
        }
        Label {
            objectName: "aboutVersion"
            Layout.alignment: Qt.AlignHCenter
            text: "Version " + AppLinks.version
            opacity: 0.7
        }
        Label {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: "Upload-ready copies of your images, within the limits of any upload form. "
                  + "Your images never leave this computer."
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "<a href=\"" + AppLinks.website + "\">parcelo.app</a>"
            onLinkActivated: link => AppModel.openOutside(link)

            HoverHandler { cursorShape: Qt.PointingHandCursor }
        }
    }
}
