// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** Lets a list end softly where there is more of it, the more so the more there is, so that nothing seems cut off. */
Item {
    id: root

    required property Flickable view
    required property color base
    readonly property real above: view.contentY - view.originY
    readonly property real below: view.contentHeight - view.height - above

    function tint(strength: real): color {
        return Qt.rgba(base.r, base.g, base.b, Math.min(1, strength))
    }

    visible: view.visible

    Rectangle {
        objectName: "edgeFade"
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: Theme.margin
        visible: root.above > 0
        gradient: Gradient {
            GradientStop { position: 0; color: root.tint(root.above / Theme.margin) }
            GradientStop { position: 1; color: root.tint(0) }
        }
    }
    Rectangle {
        objectName: "edgeFade"
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: Theme.margin
        visible: root.below > 0
        gradient: Gradient {
            GradientStop { position: 0; color: root.tint(0) }
            GradientStop { position: 1; color: root.tint(root.below / Theme.margin) }
        }
    }
}
