// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import Parcelo.Model

// The folders and images of the folder shown. Mouse and keys go to the folder listing, which
// decides what they select; `confirmed` says the choice should be returned now (a double click on
// an image, Return).
ListView {
    id: root

    required property FolderBrowser browser

    signal confirmed

    objectName: "chooserEntries"
    clip: true
    focus: true
    activeFocusOnTab: true
    keyNavigationEnabled: false
    boundsBehavior: Flickable.StopAtBounds
    model: browser
    currentIndex: browser.current
    onCurrentIndexChanged: if (currentIndex >= 0) positionViewAtIndex(currentIndex, ListView.Contain)
    ScrollBar.vertical: ScrollBar {}
    Accessible.role: Accessible.List
    Accessible.name: browser.title

    delegate: ChooserEntry {
        id: entry

        width: root.width
        keyboardHere: root.activeFocus && entry.index === root.browser.current
    }

    Label {
        anchors.centerIn: parent
        visible: root.count === 0 && root.browser.problem === ""
        text: root.browser.showsImages ? "No folders or images here" : "No folders here"
        color: Qt.alpha(root.palette.windowText, 0.5)
    }

    // One area over the whole list takes the clicks, so that a click beside the entries clears
    // the selection and each click carries its modifiers; the wheel still scrolls the list.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton
        onPressed: root.forceActiveFocus()
        onClicked: mouse => root.browser.click(root.indexAt(mouse.x + root.contentX, mouse.y + root.contentY), mouse.modifiers)
        onDoubleClicked: mouse => {
            if (root.browser.activate(root.indexAt(mouse.x + root.contentX, mouse.y + root.contentY))) root.confirmed()
        }
    }

    Keys.onUpPressed: event => {
        if (event.modifiers & Qt.AltModifier) root.browser.goUp()
        else root.browser.move(-1, event.modifiers)
    }
    Keys.onDownPressed: event => root.browser.move(1, event.modifiers)
    Keys.onSpacePressed: root.browser.toggleCurrent()
    Keys.onReturnPressed: if (root.browser.enter()) root.confirmed()
    Keys.onEnterPressed: if (root.browser.enter()) root.confirmed()
    Keys.onPressed: event => {
        if (event.matches(StandardKey.SelectAll)) root.browser.selectAll()
        else if (event.key === Qt.Key_Backspace) root.browser.goUp()
        else if (event.key === Qt.Key_Home) root.browser.move(-root.count, event.modifiers)
        else if (event.key === Qt.Key_End) root.browser.move(root.count, event.modifiers)
        else return
        event.accepted = true
    }
}
