// SPDX-License-Identifier: MIT
pragma Singleton
import QtQuick 2.15

/** All colours, sizes and times of the panel. Lengths are multiples of 8 pixels, or of 4 inside a control. */
QtObject {
    property bool night: false

    readonly property color background: night ? "#0d1015" : "#e9edf2"
    readonly property color surface: night ? "#171c24" : "#ffffff"
    readonly property color raised: night ? "#2a323e" : "#dde3eb"
    readonly property color pressed: night ? "#343e4c" : "#cbd4df"
    readonly property color text: night ? "#f1f4f8" : "#12171e"
    readonly property color secondaryText: night ? "#a9b4c2" : "#4b5766"
    readonly property color accent: night ? "#62adff" : "#0b57c2"
    readonly property color fill: night ? "#1d5fae" : "#0b57c2"
    readonly property color fillText: "#ffffff"
    readonly property color good: night ? "#5dce94" : "#116b3c"
    readonly property color attention: night ? "#f3c063" : "#7d4f00"
    readonly property color badFill: "#b0271d"
    readonly property color badSign: "#ffffff"
    readonly property color attentionFill: "#f3c063"
    readonly property color attentionSign: "#3a2500"

    readonly property string family: "DejaVu Sans"
    readonly property int displaySize: 32
    readonly property int titleSize: 22
    readonly property int bodySize: 18
    readonly property int captionSize: 16

    readonly property int gap: 16
    readonly property int margin: 24
    readonly property int halfGap: 8
    readonly property int radius: 16
    readonly property int ring: 3
    readonly property int headerHeight: 64
    readonly property int touchSize: 56
    readonly property int tileWidth: 176
    readonly property int tileHeight: 124
    readonly property int discSize: 40
    readonly property int smallDiscSize: 32
    readonly property int dotSize: 8
    readonly property int feedMinimum: 304
    readonly property int feedMaximum: 408
    readonly property int feedHeight: 256
    readonly property int wideFrom: 800
    readonly property int smallest: 480
    readonly property real feedShare: 0.34

    readonly property int quick: 150
    readonly property int calm: 600
    readonly property int tipTime: 6000
    readonly property int noticeTime: 10000
}
