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
    boundsBehavior: Flickable.StopAtBounds
    cellWidth: Math.floor(width / Math.max(2, Math.floor(width / (Theme.tileWidth + Theme.gap))))
    cellHeight: Theme.tileHeight + Theme.gap
    ScrollIndicator.vertical: ScrollIndicator {}
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Audio sources")

    delegate: FocusScope {
        id: cell

        required property int index
        required property string name
        required property bool active
        required property bool pending
        readonly property bool removed: index < 0 // it fades out, and can no longer be chosen

        width: root.cellWidth
        height: root.cellHeight
        Component.onCompleted: fadeIn.start()

        ModeTile {
            anchors { fill: parent; margins: Theme.halfGap }
            focus: true
            index: cell.index
            name: cell.name
            active: cell.active
            pending: cell.pending
            enabled: !cell.removed && name !== ""
            onClicked: root.chosen(name)
            onPressAndHold: {
                if (elided) {
                    tip.showAt(this, name)
                } else {
                    root.chosen(name)
                }
            }
        }
        // The view's own transition would keep the tile in its place when the window changes meanwhile.
        NumberAnimation {
            id: fadeIn
            target: cell
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.quick
        }
    }

    // Not together with reuseItems: Qt 5.15 would leave some of the tiles where they are, half faded.
    remove: Transition { NumberAnimation { property: "opacity"; to: 0; duration: Theme.quick } }

    NameTip { id: tip }
}
