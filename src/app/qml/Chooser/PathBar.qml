// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Parcelo.Model
import Parcelo.Style

// Where the chooser is: the button up one folder, then each folder from the top down to the one
// shown; a click on any of them goes there.
RowLayout {
    id: root

    required property FolderBrowser browser

    spacing: 2

    SecondaryButton {
        objectName: "chooserUp"
        symbol: "arrow.up"
        horizontalPadding: 8
        verticalPadding: 6
        enabled: root.browser.canGoUp
        Accessible.name: "Up one folder"
        onClicked: root.browser.goUp()
    }

    Flickable {
        id: crumbs

        Layout.fillWidth: true
        Layout.leftMargin: 6
        implicitHeight: row.implicitHeight
        contentWidth: row.implicitWidth
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        // The folder shown, at the end of the path, stays in sight.
        contentX: Math.max(0, contentWidth - width)

        Row {
            id: row

            spacing: 0

            Repeater {
                model: root.browser.path

                T.Button {
                    id: crumb

                    required property var modelData
                    required property int index

                    readonly property bool last: index === root.browser.path.length - 1

                    objectName: "chooserPath " + modelData.name
                    horizontalPadding: 6
                    verticalPadding: 5
                    implicitWidth: implicitContentWidth + leftPadding + rightPadding
                    implicitHeight: implicitContentHeight + topPadding + bottomPadding
                    text: (index > 0 ? "›  " : "") + modelData.name
                    font.pixelSize: 13
                    font.weight: last ? Font.DemiBold : Font.Normal
                    Accessible.name: modelData.name
                    onClicked: root.browser.folder = modelData.folder

                    contentItem: Text {
                        text: crumb.text
                        textFormat: Text.PlainText
                        font: crumb.font
                        color: crumb.last ? Theme.ink : Theme.muted
                    }
                    background: Rectangle {
                        radius: 6
                        color: crumb.down ? Qt.alpha(Theme.ink, 0.06) : "transparent"

                        FocusRing {
                            control: crumb
                            controlRadius: 6
                        }
                    }
                }
            }
        }
    }
}
