// SPDX-License-Identifier: MIT
import QtQuick 2.15
import Kiv.Audio 1.0

/** What becomes of the user's requests: the model tells that one is over, and in lastError that it has failed. */
QtObject {
    id: root

    required property AudioModesModel modes
    readonly property bool waits: modes.pendingMode !== "" && !modes.busy
    property string refusedMode
    property bool refused: false
    property string asked

    function ask(name) {
        refused = false
        if (!modes.requestMode(name)) {
            refuse(name)
        }
    }

    function cancel() {
        if (modes.cancelPending()) {
            asked = ""
        }
    }

    function refuse(name) {
        refusedMode = name
        refused = true
    }

    function judge() { // when the model has told everything
        if (modes.pendingMode === "" && asked !== "") {
            if (modes.lastError !== "") {
                refuse(asked)
            }
            asked = ""
        }
    }

    readonly property Connections watch: Connections {
        target: root.modes
        function onPendingModeChanged() {
            if (root.modes.pendingMode === "") {
                Qt.callLater(root.judge)
            } else {
                root.asked = root.modes.pendingMode
                root.refused = false
            }
        }
    }
}
