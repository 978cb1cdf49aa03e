// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** Shows which control has the keyboard. Its parent is the control. */
Rectangle {
    objectName: "focusRing"
    anchors.fill: parent
    anchors.margins: -2 * border.width
    visible: parent.activeFocus && InputMode.keyboard
    color: "transparent"
    radius: Theme.radius + 2 * border.width
    border.width: Theme.ring
    border.color: Theme.text
}
