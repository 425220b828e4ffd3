// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Style
import QtQuick.Layouts

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
    HoverHelp {
        visible: hover.hovered && root.toolTip !== ""
        text: root.toolTip
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: 2
        spacing: 2

        Repeater {
            model: root.labels
            // Bound and connected here: a segment is made by a component, out of reach of this
            // file's ids.
            onItemAdded: (index, item) => {
                const segment = item as Segment
                segment.chosen = Qt.binding(() => index === root.currentIndex)
                segment.clicked.connect(() => root.activated(index))
            }

            Segment {}
        }
    }
}
