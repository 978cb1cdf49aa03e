// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HmiPanel 1.0

/** A text as it is, whatever it holds. */
Text {
    property bool strong: false

    color: Theme.text
    font.family: Theme.family
    font.pixelSize: Theme.bodySize
    font.bold: strong
    horizontalAlignment: Text.AlignLeft
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
}
