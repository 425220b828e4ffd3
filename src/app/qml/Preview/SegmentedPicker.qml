// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Style

// A row of segments of which exactly one is chosen, as on the preview stage's comparison bar.
Rectangle {
    id: root

    required property list<string> labels
    property int currentIndex: 0
    property string toolTip

    // The user chose the segment at index.
    signal activated(int index)

    implicitHeight: 24
    radius: 7
    color: Qt.alpha("white", 0.22)
    Accessible.role: Accessible.PageTabList

    HoverHandler { id: hover }
    ToolTip.visible: hover.hovered && toolTip !== ""
    ToolTip.delay: 600
    ToolTip.text: toolTip

    RowLayout {
        anchors.fill: parent
        anchors.margins: 2
        spacing: 2

        Repeater {
            model: root.labels

            AbstractButton {
                id: segment

                required property string modelData
                required property int index
                readonly property bool chosen: index === root.currentIndex

                objectName: "segment" + modelData
                Layout.fillWidth: true
                Layout.fillHeight: true
                text: modelData
                onClicked: root.activated(index)
                Accessible.role: Accessible.PageTab
                Accessible.name: modelData
                Accessible.selected: chosen

                background: Rectangle {
                    radius: 5
                    color: segment.chosen ? "white" : "transparent"
                }
                contentItem: Text {
                    text: segment.text
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    color: segment.chosen ? Theme.ink : "white"
                    font.pixelSize: 11
                    font.weight: Font.Medium
                }
            }
        }
    }
}
