// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Parcelo.Model
import Parcelo.Style

// One image file, decoded off the main thread at most 1,600 pixels on its longer edge and
// scaled to fit, aspect kept; the photo symbol while nothing is decoded.
Item {
    id: root

    // The file to show.
    property url url
    readonly property bool loaded: String(loader.image) !== ""
    readonly property size imageSize: loader.imageSize
    readonly property alias loading: loader.loading
    readonly property alias error: loader.error

    PreviewLoader {
        id: loader

        objectName: root.objectName + "Loader"
        source: root.url
    }

    Image {
        objectName: "previewImage"
        anchors.fill: parent
        visible: root.loaded
        source: loader.image
        fillMode: Image.PreserveAspectFit
        cache: false
        smooth: true
        mipmap: true
    }

    Symbol {
        anchors.centerIn: parent
        visible: !root.loaded
        name: "photo"
        size: 48
        color: Theme.muted
    }
}
