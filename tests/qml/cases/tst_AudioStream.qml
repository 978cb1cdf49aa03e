// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtTest 1.15
import Kiv.Audio 1.0
import Kiv.Tests 1.0

/** A player beside the simulator, which has a phone call come after the first request for the focus. */
TestCase {
    id: testCase

    name: "AudioStream"

    Component {
        id: player

        AudioStream {
            id: stream

            property var journal: []
            readonly property string shown: describe(stream.state)

            name: "Player"
            onPauseRequested: journal.push("pause")
            onResumeSuggested: journal.push("resume")
            onFocusLost: reason => journal.push(reason === AudioStream.Reason.Abandoned ? "lost: abandoned"
                                                                                        : "lost: " + reason)
            onFocusQueried: wouldBeGranted => journal.push("queried: " + wouldBeGranted)

            function describe(state) {
                switch (state) {
                case AudioStream.State.Idle:
                    return "idle"
                case AudioStream.State.Focused:
                    return "focused"
                case AudioStream.State.Interrupted:
                    return "interrupted"
                }
                return "other"
            }
        }
    }

    Component {
        id: nameless

        AudioStream {}
    }

    function init() {
        verify(Simulator.tell("Reset"))
    }

    /** A registered stream. */
    function registered() {
        const stream = createTemporaryObject(player, testCase)
        tryCompare(stream, "shown", "idle", 30000)
        verify(stream.available)
        return stream
    }

    function test_phoneCall_pausesAndResumes() {
        const stream = registered()
        stream.playing = true
        stream.requestFocus()
        compare(stream.state, AudioStream.State.Requested)
        tryCompare(stream, "hasFocus", true, 30000)
        compare(stream.shown, "focused")
        tryCompare(stream, "shown", "interrupted", 30000)
        compare(stream.hasFocus, false)
        compare(stream.playing, true)
        tryCompare(stream, "shown", "focused", 30000)
        compare(stream.journal, ["pause", "resume"])
        stream.playing = false
        stream.abandon("the song has ended")
        compare(stream.lastReason, AudioStream.Reason.Abandoned)
        tryCompare(stream, "shown", "idle", 30000)
        compare(stream.journal, ["pause", "resume", "lost: abandoned"])
    }

    function test_query_isAnswered() {
        const stream = registered()
        stream.queryFocus()
        tryVerify(() => stream.journal.length === 1, 30000)
        compare(stream.journal, ["queried: true"])
        compare(stream.state, AudioStream.State.Idle)
    }

    function test_serviceRestarts_focusIsLost() {
        const stream = registered()
        stream.requestFocus()
        tryCompare(stream, "hasFocus", true, 30000)
        verify(Simulator.tell("Do", ['{"do": "restart", "milliseconds": 100}']))
        tryCompare(stream, "state", AudioStream.State.Offline, 30000)
        compare(stream.lastReason, AudioStream.Reason.ServiceLeft)
        tryCompare(stream, "state", AudioStream.State.Idle, 30000)
        compare(stream.journal.filter(entry => entry.startsWith("lost")), ["lost: " + AudioStream.Reason.ServiceLeft])
    }

    function test_nameless_waitsForItsNameAndAStartByHand() {
        ignoreWarning("Audio::Utils::Kiv::Models::AudioStream: start() needs a name")
        const stream = createTemporaryObject(nameless, testCase)
        wait(0)
        compare(Simulator.callCount("openSession"), 0)
        stream.name = "Late"
        stream.start()
        tryCompare(stream, "state", AudioStream.State.Idle, 30000)
    }

    function test_enums_areScoped_data() {
        return [
            { tag: "State", type: AudioStream.State,
              names: ["Offline", "Registering", "Idle", "Requested", "Focused", "Interrupted", "Refused", "Lost"] },
            { tag: "Reason", type: AudioStream.Reason,
              names: ["None", "TakenOver", "ServiceLeft", "Abandoned", "Refused"] }
        ]
    }

    function test_enums_areScoped(data) {
        compare(data.names.map(name => data.type[name]), data.names.map((name, index) => index))
        compare(data.names.map(name => AudioStream[name]), data.names.map(() => undefined))
    }
}
