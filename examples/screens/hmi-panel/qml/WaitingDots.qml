// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** Three dots, one after the other: something takes its time. Small, so that drawing it costs little. */
Row {
    id: root

    property color color: Theme.accent

    spacing: Theme.dotSize / 2

    Repeater {
        model: 3
        Rectangle {
            id: dot
            required property int index
            objectName: "waitingDot"
            width: Theme.dotSize
            height: width
            radius: width / 2
            color: root.color
            SequentialAnimation on opacity {
                running: root.visible
                loops: Animation.Infinite
                PauseAnimation { duration: dot.index * Theme.calm / 3 }
                NumberAnimation { from: 1; to: 0.25; duration: Theme.calm }
                NumberAnimation { from: 0.25; to: 1; duration: Theme.calm }
                PauseAnimation { duration: (2 - dot.index) * Theme.calm / 3 }
            }
        }
    }
}
