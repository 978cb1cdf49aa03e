// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtTest 1.15
import Kiv.Audio 1.0
import Kiv.Tests 1.0

/** What happens to streams of the device, as rows. */
TestCase {
    id: testCase

    name: "FocusFeed"

    Component {
        id: log

        Repeater {
            id: rows

            property FocusFeed feed: FocusFeed { limit: 3 }

            model: feed
            delegate: Text {
                required property string streamName
                required property string streamModeName
                required property string focusType
                required property string streamType
                required property string destination
                required property string newFocus
                required property date time

                text: [streamName, streamModeName, focusType, streamType, destination, newFocus].join("/")
            }

            function texts() {
                const all = []
                for (let row = 0; row < count; ++row) {
                    all.push(itemAt(row).text)
                }
                return all
            }
        }
    }

    function init() {
        verify(Simulator.tell("Reset"))
    }

    function tryTexts(rows, texts) {
        tryVerify(() => rows.texts().join() === texts.join(), 30000, rows.texts() + " -> " + texts)
    }

    function test_events_fillTheFeedUpToItsLimit() {
        const before = new Date()
        const rows = createTemporaryObject(log, testCase)
        tryCompare(rows.feed, "available", true, 30000)
        verify(Simulator.tell("StartStream", ["phone", "Phone", "transient"]))
        tryTexts(rows, ["phone//transient/Phone/all/gained"])
        verify(rows.itemAt(0).time >= before)
        verify(rows.itemAt(0).time <= new Date())
        verify(Simulator.tell("StopStream", ["phone"]))
        verify(Simulator.tell("StartStream", ["music", "Media", "permanent"]))
        tryTexts(rows, ["music//permanent/Media/all/gained", "phone//transient/Phone/all/lost",
                        "phone//transient/Phone/all/gained"])
        verify(Simulator.tell("StopStream", ["music"]))
        tryTexts(rows, ["music//permanent/Media/all/lost", "music//permanent/Media/all/gained",
                        "phone//transient/Phone/all/lost"])
        rows.feed.clear()
        compare(rows.feed.count, 0)
        compare(rows.count, 0)
    }

    function test_limitBelowOne_isRefused() {
        const rows = createTemporaryObject(log, testCase)
        ignoreWarning(/Audio::Utils::Kiv::Models::FocusFeed: .*/)
        rows.feed.limit = 0
        compare(rows.feed.limit, 3)
    }
}
