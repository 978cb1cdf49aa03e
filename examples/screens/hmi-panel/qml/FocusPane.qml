// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import Kiv.Audio 1.0
import HmiPanel 1.0

/** Who may be heard, as it happens. */
Rectangle {
    id: root

    required property FocusFeed feed

    radius: Theme.radius
    color: Theme.surface

    PanelText {
        id: title
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: Theme.gap }
        strong: true
        text: qsTr("Audio focus")
    }
    ListView {
        id: list

        objectName: "focusList"
        anchors {
            left: title.left
            right: title.right
            top: title.bottom
            topMargin: Theme.halfGap
            bottom: parent.bottom
            bottomMargin: Theme.halfGap
        }
        activeFocusOnTab: count > 0
        clip: true
        reuseItems: true
        keyNavigationEnabled: false
        boundsBehavior: Flickable.StopAtBounds
        model: root.feed
        visible: count > 0
        Accessible.role: Accessible.List
        Accessible.name: title.text
        Keys.onUpPressed: bar.decrease()
        Keys.onDownPressed: bar.increase()
        ScrollBar.vertical: ScrollBar { id: bar; policy: ScrollBar.AlwaysOff; stepSize: 0.1 }
        ScrollIndicator.vertical: ScrollIndicator {}

        delegate: FocusRow {
            width: ListView.view.width
        }
    }
    EdgeFade {
        anchors.fill: list
        view: list
        base: root.color
    }
    Placeholder {
        anchors {
            left: parent.left
            right: parent.right
            margins: Theme.margin
            verticalCenter: parent.verticalCenter
        }
        visible: root.feed.count === 0
        waits: false
        headline: qsTr("No events yet")
        detail: qsTr("Shows who gets or loses the audio focus.")
    }
    FocusRing { visible: list.activeFocus && InputMode.keyboard }
}
