// SPDX-License-Identifier: MIT
import QtQuick 2.15
import Kiv.Audio 1.0
import HmiPanel 1.0

/** What the user has to be told of the modes, if anything: of several things the most important one. */
QtObject {
    id: root

    enum Kind { None, Unavailable, Waiting, Refused }

    required property AudioModesModel modes
    required property ModeRequest request
    readonly property int kind: !modes.available && modes.count > 0 ? PanelMessage.Kind.Unavailable
                                : !modes.available ? PanelMessage.Kind.None
                                : request.waits ? PanelMessage.Kind.Waiting
                                : request.refused ? PanelMessage.Kind.Refused : PanelMessage.Kind.None
    readonly property string headline: [
        "",
        qsTr("Audio service not available"),
        qsTr("Waiting for %1").arg(Names.quoted(modes.pendingMode)),
        qsTr("%1 could not be switched on").arg(Names.quoted(request.refusedMode))
    ][kind]
    readonly property string detail: [
        "",
        qsTr("The panel reconnects by itself."),
        qsTr("It is switched on as soon as it is offered."),
        qsTr("Please try again, or choose another one.")
    ][kind]
    readonly property string action: ["", "", qsTr("Cancel"), qsTr("Close")][kind]
}
