import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Parcelo.Style

// Under the crop picture: the slider along the axis the frame can travel, or the note that the
// image already has the requested shape.
RowLayout {
    id: root

    // "horizontal", "vertical" or "none".
    required property string travel
    required property point position

    // The user moved the slider.
    signal moved(point position)

    readonly property bool horizontal: travel === "horizontal"

    spacing: 8

    Text {
        visible: root.travel !== "none"
        text: root.horizontal ? "Left" : "Top"
        color: Palette.ink
        font.pixelSize: 11
    }
    Slider {
        objectName: "cropSlider"
        visible: root.travel !== "none"
        Layout.fillWidth: true
        from: 0
        to: 1
        value: root.horizontal ? root.position.x : root.position.y
        onMoved: root.moved(root.horizontal ? Qt.point(value, root.position.y) : Qt.point(root.position.x, value))
        Accessible.name: root.horizontal ? "Horizontal crop position" : "Vertical crop position"
    }
    Text {
        visible: root.travel !== "none"
        text: root.horizontal ? "Right" : "Bottom"
        color: Palette.ink
        font.pixelSize: 11
    }
    Text {
        objectName: "sameShapeNote"
        visible: root.travel === "none"
        Layout.fillWidth: true
        text: "This image already has the requested shape. The whole image is included."
        color: Palette.ink
        font.pixelSize: 11
        wrapMode: Text.Wrap
    }
}
