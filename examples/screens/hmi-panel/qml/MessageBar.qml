// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** A message across the modes, with a button if there is something to do. */
Rectangle {
    id: root

    required property PanelMessage message
    readonly property bool refused: message.kind === PanelMessage.Kind.Refused
    readonly property bool waits: message.kind === PanelMessage.Kind.Waiting

    signal triggered

    objectName: "messageBar"
    visible: message.kind !== PanelMessage.Kind.None
    implicitHeight: Math.max(button.height, texts.height + Theme.halfGap) + 2 * Theme.halfGap
    radius: Theme.radius
    color: Theme.surface
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message.headline + " " + message.detail

    Disc {
        id: disc
        anchors { left: parent.left; leftMargin: Theme.gap; verticalCenter: parent.verticalCenter }
        visible: !root.waits
        sign: "!"
        signColor: root.refused ? Theme.badSign : Theme.attentionSign
        color: root.refused ? Theme.badFill : Theme.attentionFill
    }
    WaitingDots {
        anchors.centerIn: disc
        visible: root.waits
    }
    Column {
        id: texts
        anchors {
            left: disc.right
            leftMargin: Theme.gap
            right: button.left
            rightMargin: Theme.halfGap
            verticalCenter: parent.verticalCenter
        }

        NameText {
            objectName: "messageHeadline"
            width: parent.width
            strong: true
            lines: 2
            name: root.message.headline
        }
        PanelText {
            objectName: "messageDetail"
            width: parent.width
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            text: root.message.detail
        }
    }
    PanelButton {
        id: button
        objectName: "messageButton"
        anchors {
            right: parent.right
            rightMargin: Theme.halfGap
            verticalCenter: parent.verticalCenter
        }
        width: visible ? implicitWidth : Theme.halfGap
        visible: text !== ""
        text: root.message.action
        onClicked: root.triggered()
    }
}
