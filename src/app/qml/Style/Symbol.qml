// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Shapes

// One pictogram of Parcelo's symbol set, by its symbol name, in one colour at one size.
// This file is the only place that knows how each name is drawn: as a Breeze icon tinted
// through the "symbol" image provider, or as a small drawing where Breeze has nothing that fits.
Item {
    id: root

    property string name
    property color color: Theme.ink
    property real size: 16

    // Breeze icon names by symbol name.
    readonly property var breezeIcons: ({
        "arrow.down.document": "document-import",
        "arrow.down.to.line.compact": "download",
        "arrow.up": "go-up",
        "arrow.up.left.and.arrow.down.right": "view-fullscreen",
        "checkmark": "object-select-symbolic",
        "checkmark.shield.fill": "security-high-symbolic",
        "chevron.down": "arrow-down",
        "crop": "image-crop-symbolic",
        "folder": "folder",
        "folder.badge.plus": "folder-new",
        "house": "go-home",
        "info.circle": "help-about",
        "lock.shield": "object-locked",
        "photo": "photo",
        "photo.badge.arrow.down.fill": "insert-image",
        "photo.on.rectangle": "folder-images",
        "plus": "list-add",
        "slider.horizontal.3": "configure",
        "square.stack.3d.up": "dialog-layers",
        "trash": "edit-delete",
        "xmark": "edit-delete-remove"
    })
    // Symbols drawn here.
    readonly property var drawings: ({
        "arrow.down.right.and.arrow.up.left": inwardArrows,
        "arrow.up.right.square": openOutside,
        "checkmark.circle.fill": checkInDisc,
        "location.slash": locationSlash,
        "multiply": multiplySign
    })
    readonly property string breezeIcon: breezeIcons[name] ?? ""
    // The provider takes the colour as hex digits, with alpha when the colour is translucent.
    readonly property string colorDigits: color.toString().substring(1)

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    onNameChanged: {
        if (name !== "" && breezeIcon === "" && !(name in drawings))
            console.warn("Symbol: no pictogram for", name)
    }

    Image {
        anchors.fill: parent
        visible: root.breezeIcon !== ""
        source: visible ? "image://symbol/" + root.colorDigits + "/" + root.breezeIcon : ""
        sourceSize.width: Math.ceil(root.size)
        sourceSize.height: Math.ceil(root.size)
        fillMode: Image.PreserveAspectFit
        smooth: true
    }

    Loader {
        id: drawing

        anchors.fill: parent
        active: root.breezeIcon === "" && root.name in root.drawings
        sourceComponent: active ? root.drawings[root.name] : null
    }

    // A drawing is made by a component, out of reach of this item's id: its size and colour
    // are handed to it.
    Binding {
        target: drawing.item
        property: "s"
        value: root.size
        when: drawing.item !== null
    }
    Binding {
        target: drawing.item
        property: "ink"
        value: root.color
        when: drawing.item !== null
    }

    // Two arrows meeting in the middle, as in Parcelo's mark.
    Component {
        id: inwardArrows

        Shape {
            id: shape

            property real s
            property color ink
            layer.enabled: true
            layer.samples: 4

            ShapePath {
                strokeColor: shape.ink
                strokeWidth: Math.max(1.2, shape.s * 0.12)
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                joinStyle: ShapePath.RoundJoin

                startX: shape.s * 0.1; startY: shape.s * 0.1
                PathLine { x: shape.s * 0.42; y: shape.s * 0.42 }
                PathMove { x: shape.s * 0.42; y: shape.s * 0.16 }
                PathLine { x: shape.s * 0.42; y: shape.s * 0.42 }
                PathLine { x: shape.s * 0.16; y: shape.s * 0.42 }
                PathMove { x: shape.s * 0.9; y: shape.s * 0.9 }
                PathLine { x: shape.s * 0.58; y: shape.s * 0.58 }
                PathMove { x: shape.s * 0.58; y: shape.s * 0.84 }
                PathLine { x: shape.s * 0.58; y: shape.s * 0.58 }
                PathLine { x: shape.s * 0.84; y: shape.s * 0.58 }
            }
        }
    }

    // The multiplication sign between two dimensions.
    Component {
        id: multiplySign

        Shape {
            id: shape

            property real s
            property color ink
            layer.enabled: true
            layer.samples: 4

            ShapePath {
                strokeColor: shape.ink
                strokeWidth: Math.max(1, shape.s * 0.1)
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap

                startX: shape.s * 0.28; startY: shape.s * 0.28
                PathLine { x: shape.s * 0.72; y: shape.s * 0.72 }
                PathMove { x: shape.s * 0.72; y: shape.s * 0.28 }
                PathLine { x: shape.s * 0.28; y: shape.s * 0.72 }
            }
        }
    }

    // A location pin struck through: no location data.
    Component {
        id: locationSlash

        Item {
            id: pin

            property real s
            property color ink

            Image {
                anchors.fill: parent
                source: "image://symbol/" + pin.ink.toString().substring(1) + "/mark-location"
                sourceSize.width: Math.ceil(pin.s)
                sourceSize.height: Math.ceil(pin.s)
                smooth: true
            }

            Shape {
                id: shape

                readonly property real s: pin.s
                anchors.fill: parent
                layer.enabled: true
                layer.samples: 4

                ShapePath {
                    strokeColor: pin.ink
                    strokeWidth: Math.max(1, shape.s * 0.09)
                    capStyle: ShapePath.RoundCap

                    startX: shape.s * 0.1; startY: shape.s * 0.06
                    PathLine { x: shape.s * 0.9; y: shape.s * 0.94 }
                }
            }
        }
    }

    // A filled disc with a white check: a finished copy.
    Component {
        id: checkInDisc

        Shape {
            id: shape

            property real s
            property color ink
            layer.enabled: true
            layer.samples: 4

            ShapePath {
                strokeColor: "transparent"
                fillColor: shape.ink

                startX: shape.s * 0.5; startY: shape.s * 0.04
                PathArc { x: shape.s * 0.5; y: shape.s * 0.96; radiusX: shape.s * 0.46; radiusY: shape.s * 0.46 }
                PathArc { x: shape.s * 0.5; y: shape.s * 0.04; radiusX: shape.s * 0.46; radiusY: shape.s * 0.46 }
            }
            ShapePath {
                strokeColor: "white"
                strokeWidth: Math.max(1.2, shape.s * 0.1)
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                joinStyle: ShapePath.RoundJoin

                startX: shape.s * 0.29; startY: shape.s * 0.52
                PathLine { x: shape.s * 0.44; y: shape.s * 0.67 }
                PathLine { x: shape.s * 0.71; y: shape.s * 0.36 }
            }
        }
    }

    // A square with an arrow leaving it at the top right: open elsewhere.
    Component {
        id: openOutside

        Shape {
            id: shape

            property real s
            property color ink
            layer.enabled: true
            layer.samples: 4

            ShapePath {
                strokeColor: shape.ink
                strokeWidth: Math.max(1, shape.s * 0.08)
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                joinStyle: ShapePath.RoundJoin

                startX: shape.s * 0.45; startY: shape.s * 0.14
                PathLine { x: shape.s * 0.14; y: shape.s * 0.14 }
                PathLine { x: shape.s * 0.14; y: shape.s * 0.86 }
                PathLine { x: shape.s * 0.86; y: shape.s * 0.86 }
                PathLine { x: shape.s * 0.86; y: shape.s * 0.55 }
                PathMove { x: shape.s * 0.46; y: shape.s * 0.54 }
                PathLine { x: shape.s * 0.88; y: shape.s * 0.12 }
                PathMove { x: shape.s * 0.6; y: shape.s * 0.12 }
                PathLine { x: shape.s * 0.88; y: shape.s * 0.12 }
                PathLine { x: shape.s * 0.88; y: shape.s * 0.4 }
            }
        }
    }
}
