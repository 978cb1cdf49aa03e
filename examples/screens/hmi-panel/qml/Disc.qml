// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** A sign in a circle. */
Rectangle {
    property alias sign: sign.text
    property alias signColor: sign.color
    property alias signSize: sign.font.pixelSize

    implicitWidth: Theme.discSize
    implicitHeight: width
    radius: width / 2
    color: Theme.raised

    PanelText {
        id: sign
        anchors.centerIn: parent
        font.pixelSize: Theme.bodySize
        strong: true
        wrapMode: Text.NoWrap
    }
}
