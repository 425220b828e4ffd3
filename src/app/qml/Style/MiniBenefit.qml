// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts

// A benefit in three lines: a violet symbol, a headline and one explanatory line.
ColumnLayout {
    id: root

    property string icon
    property string title
    property string detail

    spacing: 7

    Symbol {
        name: root.icon
        color: Theme.violet
        size: 16
    }

    Text {
        Layout.fillWidth: true
        text: root.title
        color: Theme.ink
        font.pixelSize: 12
        font.weight: Font.DemiBold
        wrapMode: Text.Wrap
    }

    Text {
        Layout.fillWidth: true
        text: root.detail
        color: Theme.muted
        font.pixelSize: 10
        lineHeightMode: Text.FixedHeight
        lineHeight: Math.ceil(detailMetrics.lineSpacing) + 2
        wrapMode: Text.Wrap

        FontMetrics {
            id: detailMetrics

            font.pixelSize: 10
        }
    }
}
