// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls
import Parcelo.Model

// The images of the batch, one row each. At most three rows show at a time (two while a
// message fills the footer), so the preview stage stays large; further rows scroll.
ListView {
    id: root

    readonly property int rowHeight: 58
    readonly property int visibleRows: Math.min(count, AppModel.message === "" ? 3 : 2)

    objectName: "imageList"
    implicitHeight: visibleRows * rowHeight + Math.max(visibleRows - 1, 0) * spacing
    spacing: 5
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    model: AppModel.items
    ScrollBar.vertical: ScrollBar {}

    // Up and Down move the current image; Delete removes it, under the remove button's gate
    // (canRemove), which the model's operation checks.
    activeFocusOnTab: true
    Keys.onUpPressed: AppModel.selectNeighbour(-1)
    Keys.onDownPressed: AppModel.selectNeighbour(1)
    Keys.onDeletePressed: AppModel.removeCurrent()

    delegate: ImageRow {
        width: ListView.view.width
        height: (ListView.view as ImageList).rowHeight
    }
}
