// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style

// Under the preview of a fitted image: the copy was checked, against these requirements.
Rectangle {
    id: root


    objectName: "verificationLine"
    implicitHeight: line.implicitHeight + 14
    radius: 9
    color: Theme.verifiedTint

    RowLayout {
        id: line

        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        spacing: 6

        Symbol {
            name: "checkmark.shield.fill"
            size: 13
            color: Theme.verifiedGreen
        }
        Text {
            text: "Export checked"
            color: Theme.verifiedGreen
            font.pixelSize: 12
            font.weight: Font.DemiBold

            HoverHandler { id: hover }
            HoverHelp {
                visible: hover.hovered
                text: "File size, pixel dimensions and output format verified"
            }
        }
        Text {
            objectName: "requirementSummary"
            Layout.fillWidth: true
            text: AppModel.requirements.summary
            color: Theme.ink
            font.pixelSize: 12
            elide: Text.ElideRight
        }
    }
}
