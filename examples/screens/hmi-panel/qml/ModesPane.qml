// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Layouts 1.15
import Kiv.Audio 1.0
import HmiPanel 1.0

/** The modes, and what is to be said about them. */
ColumnLayout {
    id: root

    required property AudioModesModel modes
    readonly property ModeRequest request: ModeRequest { modes: root.modes }
    readonly property PanelMessage message: PanelMessage { modes: root.modes; request: root.request }

    spacing: Theme.halfGap

    MessageBar {
        Layout.fillWidth: true
        Layout.topMargin: Theme.halfGap
        message: root.message
        onTriggered: {
            if (root.request.waits) {
                root.request.cancel()
            } else {
                root.request.refused = false
            }
        }
    }
    Item {
        Layout.fillWidth: true
        Layout.fillHeight: true

        ModeGrid {
            id: grid
            anchors { fill: parent; leftMargin: -Theme.halfGap; rightMargin: -Theme.halfGap }
            model: root.modes
            visible: count > 0
            enabled: root.modes.available
            focus: true
            onChosen: name => root.request.ask(name)
        }
        EdgeFade {
            anchors.fill: grid
            view: grid
            base: Theme.background
        }
        Placeholder {
            anchors.centerIn: parent
            width: parent.width
            visible: root.modes.count === 0
            waits: visible && !root.modes.available
            headline: root.modes.available ? qsTr("No audio sources") : qsTr("Waiting for the audio service")
            detail: !root.modes.available ? qsTr("The panel connects by itself as soon as the service is there.")
                    : root.modes.lastError === "" ? qsTr("The audio service does not offer any at the moment.")
                    : qsTr("The audio service does not tell them. The panel asks again by itself.")
        }
    }
    Timer {
        running: root.message.kind === PanelMessage.Kind.Refused
        interval: Theme.noticeTime
        onTriggered: root.request.refused = false
    }
}
