// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import HmiPanel 1.0

/** A mode: its name, whether it is on, and whether it was asked for. */
AbstractButton {
    id: root

    required property int index
    required property string name
    required property bool active
    required property bool pending
    readonly property alias elided: label.elided
    readonly property bool filled: active && enabled
    readonly property color ink: !enabled ? Theme.secondaryText : filled ? Theme.fillText : Theme.text

    objectName: "tile"
    focusPolicy: Qt.NoFocus // the grid's
    padding: Theme.gap
    Accessible.role: Accessible.RadioButton
    Accessible.name: Names.shown(name) || label.unnamed
    Accessible.description: pending ? qsTr("Waits") : active ? qsTr("On") : ""
    Accessible.checked: active
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Disc {
            id: initial
            width: Theme.smallDiscSize
            signSize: Theme.captionSize
            color: root.filled ? Theme.fillText : root.enabled ? Theme.raised : Theme.background
            sign: Names.initial(root.name) || "?"
            signColor: root.filled ? Theme.fill : Theme.secondaryText
        }
        PanelText {
            objectName: "activeMark"
            anchors { right: parent.right; verticalCenter: initial.verticalCenter }
            visible: root.active && !root.pending
            text: "✓"
            strong: true
            color: root.ink
            font.pixelSize: Theme.titleSize
        }
        WaitingDots {
            objectName: "pendingMark"
            anchors { right: parent.right; verticalCenter: initial.verticalCenter }
            visible: root.pending
            color: root.filled ? Theme.fillText : Theme.accent
        }
        NameText {
            id: label
            objectName: "tileName"
            anchors {
                left: parent.left
                right: parent.right
                top: initial.bottom
                bottom: parent.bottom
                topMargin: Theme.halfGap / 2
            }
            verticalAlignment: Text.AlignBottom
            lines: 2
            sizes: [Theme.titleSize, Theme.bodySize, Theme.captionSize]
            strong: root.active
            color: root.ink
            name: root.name
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.filled ? Theme.fill : root.down ? Theme.pressed : root.enabled ? Theme.surface : "transparent"
        border.width: root.pending || !root.enabled ? 2 : 0
        border.color: root.pending ? Theme.accent : Theme.raised
        FocusRing { parent: root; z: 1 }
    }
}
