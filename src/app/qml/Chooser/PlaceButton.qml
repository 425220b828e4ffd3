// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Style

// One of the user's usual folders beside the chooser's list: a click goes there.
T.Button {
    id: root

    // The place, as the folder listing gives it: {name, folder, symbol}.
    required property var modelData

    signal chosen(url folder)

    objectName: "chooserPlace " + modelData.name
    width: ListView.view ? ListView.view.width : implicitWidth
    implicitHeight: 30
    leftPadding: 16
    rightPadding: 8
    font.pixelSize: 13
    text: modelData.name
    Accessible.name: text
    onClicked: chosen(modelData.folder)

    contentItem: RowLayout {
        spacing: 8

        Symbol {
            name: root.modelData.symbol
            size: 16
            color: Theme.violet
        }
        Text {
            Layout.fillWidth: true
            text: root.text
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font: root.font
            color: Theme.ink
        }
    }
    background: Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 6
        anchors.rightMargin: 6
        radius: 6
        color: root.down || root.hovered ? Qt.alpha(Theme.ink, 0.05) : "transparent"

        FocusRing {
            control: root
            controlRadius: 6
        }
    }
}
