// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** What stands in the place of a list that has nothing to show. */
Column {
    id: root

    property alias headline: headline.text
    property alias detail: detail.text
    property alias waits: dots.visible

    spacing: Theme.halfGap

    WaitingDots {
        id: dots
        anchors.horizontalCenter: parent.horizontalCenter
        bottomPadding: Theme.halfGap
    }
    PanelText {
        id: headline
        objectName: "placeholderHeadline"
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        strong: true
    }
    PanelText {
        id: detail
        objectName: "placeholderDetail"
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        color: Theme.secondaryText
        font.pixelSize: Theme.captionSize
    }
}
