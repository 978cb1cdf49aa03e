// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** Which mode is on, and the button that changes the theme. */
Item {
    id: root

    property string currentMode
    property string destination

    implicitHeight: Theme.headerHeight

    Column {
        anchors {
            left: parent.left
            right: themeButton.left
            rightMargin: Theme.gap
            verticalCenter: parent.verticalCenter
        }
        spacing: Theme.halfGap / 2

        NameText {
            width: parent.width
            sizes: [Theme.captionSize]
            color: Theme.secondaryText
            visible: root.currentMode !== ""
            name: root.destination === ""
                  ? qsTr("Audio source")
                  : qsTr("Audio source · %1").arg(Names.quoted(root.destination))
        }
        NameText {
            objectName: "currentMode"
            width: parent.width
            sizes: [Theme.displaySize, Theme.titleSize]
            strong: true
            name: root.currentMode
            unnamed: qsTr("Audio")
        }
    }
    PanelButton {
        id: themeButton
        objectName: "themeButton"
        anchors { right: parent.right; verticalCenter: parent.verticalCenter }
        width: Theme.touchSize
        textSize: Theme.titleSize
        text: Theme.night ? "☀" : "☾"
        Accessible.name: Theme.night ? qsTr("Day colours") : qsTr("Night colours")
        onClicked: Theme.night = !Theme.night
    }
}
