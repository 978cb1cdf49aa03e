// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kiv.Audio 1.0
import HmiPanel 1.0

/** The panel: modes and focus side by side, or one above the other. */
ApplicationWindow {
    id: root

    property bool night: false
    property string destination
    property string firstMode ///< what is asked for when the service is there for the first time
    readonly property AudioModesModel modes: AudioModesModel {
        onAvailableChanged: {
            if (available && root.firstMode !== "") {
                modesPane.request.ask(root.firstMode)
                root.firstMode = ""
            }
        }
    }
    readonly property FocusFeed feed: FocusFeed { limit: 50 }
    readonly property bool wide: width >= Theme.wideFrom && width > height

    title: qsTr("Audio")
    minimumWidth: Theme.smallest
    minimumHeight: Theme.smallest
    color: Theme.background
    Component.onCompleted: { // once: another language evaluates every binding again
        Theme.night = night
        modes.destination = destination
        feed.destination = destination
    }

    GridLayout {
        anchors { fill: parent; margins: Theme.margin }
        columns: root.wide ? 2 : 1
        columnSpacing: Theme.margin
        rowSpacing: Theme.gap

        ColumnLayout {
            spacing: Theme.halfGap

            Header {
                Layout.fillWidth: true
                currentMode: root.modes.currentMode
                destination: root.destination
            }
            ModesPane {
                id: modesPane
                Layout.fillWidth: true
                Layout.fillHeight: true
                modes: root.modes
            }
        }
        FocusPane {
            Layout.fillWidth: !root.wide
            Layout.fillHeight: root.wide
            Layout.preferredWidth: Math.max(Theme.feedMinimum,
                                            Math.min(Theme.feedMaximum, root.width * Theme.feedShare))
            Layout.preferredHeight: Math.min(Theme.feedHeight, root.height * Theme.feedShare)
            feed: root.feed
        }
    }
    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: modesPane.request.cancel()
    }
}
