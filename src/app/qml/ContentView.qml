// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import Parcelo.Model
import Parcelo.Style
import Parcelo

// The whole content of the window: the settings sidebar, a hairline, and the workspace column
// with its header, the empty state or the batch, and the footer. Accepts dropped files and
// folders, and presents the crop editor over everything.
Item {
    id: root

    // True while a drag with file locations hovers over the view.
    property bool targeted: false
    // The image whose crop editor is open (a map as AppModel.current gives it); null for none.
    property var cropItem: null

    implicitWidth: 900
    implicitHeight: 640

    RowLayout {
        anchors.fill: parent
        spacing: 0

        SettingsSidebar {
            Layout.preferredWidth: 246
            Layout.fillHeight: true
        }

        Rectangle {
            objectName: "hairline"
            Layout.preferredWidth: 1
            Layout.fillHeight: true
            color: Qt.alpha(Theme.ink, 0.07)
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            color: Theme.paper

            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 24
                spacing: 16

                WorkspaceHeader {
                    Layout.fillWidth: true
                }
                EmptyState {
                    visible: AppModel.items.count === 0
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                }
                BatchArea {
                    visible: AppModel.items.count > 0
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    onAdjustCrop: root.cropItem = AppModel.current
                }
                WorkspaceFooter {
                    Layout.fillWidth: true
                }
            }
        }
    }

    DropArea {
        objectName: "dropTarget"
        anchors.fill: parent
        onEntered: drag => {
            root.targeted = drag.hasUrls
            drag.accepted = drag.hasUrls
        }
        onExited: root.targeted = false
        onDropped: drop => {
            root.targeted = false
            if (!AppModel.canAdd) {
                drop.accepted = false
                return
            }
            // Only file locations count; anything else dropped along is skipped.
            AppModel.add(drop.urls.filter(url => url.toString().startsWith("file:")))
            drop.accept(Qt.CopyAction)
        }
    }

    DropOutline {
        anchors.fill: parent
        visible: root.targeted
    }

    // The editor is given its image before it opens, so that it starts from that image's crop.
    onCropItemChanged: if (cropItem) {
        cropEditor.item = cropItem
        cropEditor.open()
    }

    CropEditor {
        id: cropEditor

        objectName: "cropEditor"
        exactWidth: AppModel.requirements.cropWidth
        exactHeight: AppModel.requirements.cropHeight
        onApplied: position => AppModel.setCrop(root.cropItem.id, position.x, position.y)
        onClosed: root.cropItem = null
    }
}
