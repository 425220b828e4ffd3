// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Style

// The inset track behind a row of filled choices.
Rectangle {
    default property alias choices: row.data

    implicitHeight: row.implicitHeight + 4
    radius: 8
    color: Theme.inset

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.margins: 2
        spacing: 2
    }
}
