// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** An event of the feed: who, what, when. */
Item {
    id: root

    required property int index
    required property string streamName
    required property string focusType
    required property string newFocus
    required property date time
    readonly property bool passing: focusType === "transient"
    readonly property int what: ["gained", "temporarilyLost", "lost"].indexOf(newFocus) + 1 // 0: something else
    readonly property string sentence: [
        qsTr("Its focus has changed"),
        passing ? qsTr("Has the focus for a while") : qsTr("Has the focus now"),
        qsTr("Is interrupted for a while"),
        qsTr("Has lost the focus")
    ][what]

    objectName: "focusRow"
    implicitHeight: Math.max(disc.height, texts.height) + Theme.gap
    Accessible.role: Accessible.ListItem
    Accessible.name: Names.shown(streamName) + ": " + sentence

    Disc {
        id: disc
        anchors { left: parent.left; top: texts.top; topMargin: Theme.halfGap / 2 }
        sign: ["•", "▶", "❚❚", "■"][root.what]
        signColor: [Theme.secondaryText, Theme.good, Theme.attention, Theme.secondaryText][root.what]
    }
    Column {
        id: texts
        anchors {
            left: disc.right
            leftMargin: Theme.gap
            right: parent.right
            verticalCenter: parent.verticalCenter
        }

        Item {
            width: parent.width
            height: Math.max(who.height, when.height)
            NameText {
                id: who
                objectName: "streamName"
                anchors { left: parent.left; right: when.left; rightMargin: Theme.halfGap }
                strong: true
                name: root.streamName
            }
            PanelText {
                id: when
                anchors { right: parent.right; baseline: who.baseline }
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
                text: Qt.formatTime(root.time, "HH:mm:ss")
            }
        }
        PanelText {
            objectName: "focusSentence"
            width: parent.width
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            text: root.sentence
        }
    }
}
