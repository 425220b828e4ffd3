// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Templates as T
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// The workspace's title and subtitle; "Add images" and "Clear" on the right once there is
// a batch or a folder scan.
RowLayout {
    id: root

    readonly property bool hasBatch: AppModel.items.count > 0 || AppModel.scanning

    spacing: 12

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 4

        Text {
            Layout.fillWidth: true
            text: "One recipe. Every image."
            color: Theme.ink
            font.pixelSize: 24
            font.bold: true
            font.letterSpacing: -0.8
            elide: Text.ElideRight
        }
        Text {
            Layout.fillWidth: true
            text: "Set the upload rules. Save checked copies for the whole batch."
            color: Theme.muted
            font.pixelSize: 12
            elide: Text.ElideRight
        }
    }

    SecondaryButton {
        objectName: "addImagesButton"
        visible: root.hasBatch
        enabled: AppModel.canAdd
        text: "Add images"
        symbol: "plus"
        horizontalPadding: 12
        verticalPadding: 6
        onClicked: AppModel.chooseFiles()
    }

    T.Button {
        id: clearButton

        objectName: "clearButton"
        visible: root.hasBatch
        enabled: AppModel.canRemove
        text: "Clear"
        // As wide as its word, so that it ends where the content below ends.
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        leftPadding: 8
        rightPadding: 0
        verticalPadding: 6
        Accessible.name: text
        onClicked: AppModel.clear()
        contentItem: Text {
            text: clearButton.text
            opacity: clearButton.enabled ? 1 : Theme.dimmedOpacity
            color: Theme.muted
            font.pixelSize: 12
            font.weight: Font.Medium
        }
        background: Item {
            FocusRing {
                control: clearButton
                controlRadius: 4
            }
        }
    }
}
