// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import HmiPanel 1.0

/** A button with a text or a sign. */
AbstractButton {
    id: root

    property int textSize: Theme.bodySize

    implicitWidth: Math.max(Theme.touchSize, contentItem.implicitWidth + 2 * Theme.gap)
    implicitHeight: Theme.touchSize
    focusPolicy: Qt.TabFocus
    Accessible.name: text
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: PanelText {
        text: root.text
        font.pixelSize: root.textSize
        strong: true
        wrapMode: Text.NoWrap
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        color: root.down ? Theme.pressed : Theme.raised
        radius: Theme.radius
        FocusRing { parent: root; z: 1 }
    }
}
