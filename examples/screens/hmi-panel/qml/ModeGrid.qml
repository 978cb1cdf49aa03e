// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import Kiv.Audio 1.0
import HmiPanel 1.0

/** The modes as tiles. Arrow keys go from tile to tile. */
GridView {
    id: root

    signal chosen(string name)

    objectName: "modeGrid"
    activeFocusOnTab: true
    clip: true
    reuseItems: true
    boundsBehavior: Flickable.StopAtBounds
    cellWidth: Math.floor(width / Math.max(2, Math.floor(width / (Theme.tileWidth + Theme.gap))))
    cellHeight: Theme.tileHeight + Theme.gap
    ScrollIndicator.vertical: ScrollIndicator {}
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Audio sources")

    delegate: Item {
        id: cell

        required property int index
        required property string name
        required property bool active
        required property bool pending

        width: root.cellWidth
        height: root.cellHeight
        GridView.onAdd: fadeIn.start()
        GridView.onRemove: fadeOut.start()
        GridView.onPooled: visible = false
        GridView.onReused: {
            fadeIn.complete()
            opacity = 1
            visible = true
        }

        ModeTile {
            anchors { fill: parent; margins: Theme.halfGap }
            focus: true
            index: cell.index
            name: cell.name
            active: cell.active
            pending: cell.pending
            enabled: root.enabled && name !== ""
            onClicked: root.chosen(name)
            onPressAndHold: tip.showAt(this, name)
            Keys.onReturnPressed: click()
            Keys.onEnterPressed: click()
        }
        // The view's own transitions would keep tiles in their place when the window changes meanwhile.
        NumberAnimation {
            id: fadeIn
            target: cell
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.quick
        }
        SequentialAnimation {
            id: fadeOut
            PropertyAction { target: cell; property: "GridView.delayRemove"; value: true }
            NumberAnimation { target: cell; property: "opacity"; to: 0; duration: Theme.quick }
            PropertyAction { target: cell; property: "GridView.delayRemove"; value: false }
        }
    }

    NameTip { id: tip }
}
