// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import HmiPanel 1.0

/** Shows a whole name beside an item that has no room for it. */
ToolTip {
    id: root

    property string name

    objectName: "nameTip"
    delay: 0
    timeout: Theme.tipTime
    margins: Theme.margin
    padding: Theme.gap
    contentItem: PanelText {
        objectName: "nameTipText"
        text: Names.shown(root.name)
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        font.pixelSize: Theme.captionSize
    }
    background: Rectangle {
        color: Theme.raised
        radius: Theme.halfGap
        border.color: Theme.secondaryText
    }

    function showAt(item, text) {
        parent = item
        name = text
        contentWidth = Math.min(implicitContentWidth, Overlay.overlay.width - 2 * Theme.margin - 2 * padding)
        open()
    }
}
