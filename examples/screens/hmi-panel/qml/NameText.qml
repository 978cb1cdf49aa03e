// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** A name that the service gives: smaller where it is long, and without its middle where it is too long. */
PanelText {
    id: root

    property string name
    property string unnamed: qsTr("Unnamed")
    property int lines: 1
    property var sizes: [Theme.bodySize, Theme.captionSize]
    readonly property font measured: Qt.font({ family: Theme.family, bold: root.strong })
    readonly property var fitted: Names.fit(name, measured, width, lines, sizes)
    readonly property bool elided: fitted.elided

    text: fitted.text || unnamed
    font.pixelSize: fitted.pixelSize
}
