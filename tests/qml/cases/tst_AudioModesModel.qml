// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtTest 1.15
import Kiv.Audio 1.0
import Kiv.Tests 1.0

/** A list of the modes, as a screen would show it, beside the simulator with Radio, Bluetooth and USB. */
Item {
    id: root

    width: 200
    height: 200

    Component {
        id: modesList

        ListView {
            id: list

            property AudioModesModel modes: AudioModesModel {}

            width: 200
            height: 200
            model: modes
            delegate: Text {
                id: row

                required property string name
                required property bool active
                required property bool pending

                width: 200
                height: 20
                text: (active ? "* " : "") + name + (pending ? " …" : "")

                MouseArea {
                    anchors.fill: parent
                    onClicked: list.modes.requestMode(row.name)
                }
            }

            function texts() {
                forceLayout()
                const all = []
                for (let row = 0; row < count; ++row) {
                    all.push(itemAtIndex(row).text)
                }
                return all.join(", ")
            }
        }
    }

    Component {
        id: onlyModel

        AudioModesModel {}
    }

    Component {
        id: rear

        AudioModesModel {
            busName: "com.example.rear"
            destination: "Cabin"
        }
    }

    SignalSpy {
        id: changes

        signalName: "availableChanged"
    }

    TestCase {
        id: testCase

        name: "AudioModesModel"
        when: windowShown

        function init() {
            verify(Simulator.tell("Reset"))
        }

        /** A list that shows all. */
        function shown() {
            const list = createTemporaryObject(modesList, root)
            tryTexts(list, "* Radio, Bluetooth, USB")
            return list
        }

        function tryTexts(list, texts) {
            tryVerify(() => list.texts() === texts, 30000, list.texts() + " -> " + texts)
        }

        function test_withoutAnyProperty_startsAndShowsTheModes() {
            const list = shown()
            verify(list.modes.available)
            compare(list.modes.count, 3)
            compare(list.modes.currentMode, "Radio")
            compare(list.modes.lastError, "")
            compare(Simulator.callCount("openSession"), 1)
        }

        function test_completed_startsInALaterTurn() {
            const modes = createTemporaryObject(onlyModel, root)
            compare(Simulator.callCount("openSession"), 0)
            verify(!modes.requestMode("USB"))
            compare(modes.lastError, "The model has not been started.")
            tryCompare(modes, "available", true, 30000)
        }

        function test_startedByHandToo_opensOneSession() {
            const modes = createTemporaryObject(onlyModel, root)
            modes.start()
            tryCompare(modes, "count", 3, 30000)
            modes.start()
            tryCompare(modes, "currentMode", "Radio", 30000)
            compare(Simulator.callCount("openSession"), 1)
        }

        function test_click_setsTheMode() {
            const list = shown()
            mouseClick(list.itemAtIndex(1))
            compare(list.texts(), "* Radio, Bluetooth …, USB")
            compare(list.modes.pendingMode, "Bluetooth")
            tryTexts(list, "Radio, * Bluetooth, USB")
            compare(Simulator.callCount("setMode"), 1)
        }

        function test_device_addsAndRemovesModes() {
            const list = shown()
            verify(Simulator.tell("AddMode", ["Tape", ""]))
            tryTexts(list, "* Radio, Bluetooth, USB, Tape")
            verify(Simulator.tell("RemoveMode", ["Bluetooth", ""]))
            tryTexts(list, "* Radio, USB, Tape")
        }

        function test_unlistedMode_waitsUntilItIsOffered() {
            const list = shown()
            verify(list.modes.requestMode("Podcast"))
            compare(list.modes.pendingMode, "Podcast")
            compare(list.modes.busy, false)
            verify(Simulator.tell("AddMode", ["Podcast", ""]))
            tryTexts(list, "Radio, Bluetooth, USB, * Podcast")
            tryCompare(list.modes, "pendingMode", "", 30000)
        }

        function test_unlistedMode_canBeGivenUp() {
            const list = shown()
            verify(list.modes.requestMode("Podcast"))
            verify(list.modes.cancelPending())
            compare(list.modes.pendingMode, "")
            compare(Simulator.callCount("setMode"), 0)
        }

        function test_serviceRestarts_listStaysAndFollows() {
            const list = shown()
            changes.target = list.modes
            changes.clear()
            verify(Simulator.tell("Do", ['{"do": "restart", "milliseconds": 200}']))
            tryCompare(list.modes, "available", false, 30000)
            compare(list.texts(), "* Radio, Bluetooth, USB")
            verify(!list.modes.requestMode("USB"))
            compare(list.modes.lastError, "The audio service is not available.")
            tryCompare(list.modes, "available", true, 30000)
            compare(changes.count, 2)
            verify(Simulator.tell("PressMode", ["USB", ""]))
            tryTexts(list, "Radio, Bluetooth, * USB")
            changes.target = null
        }

        function test_configured_keepsItAfterTheStart() {
            const modes = createTemporaryObject(rear, root)
            compare(modes.objectPath, "/com/example/rear/hmi")
            tryCompare(modes, "available", true, 30000)
            ignoreWarning("Audio::Utils::Kiv::Models::AudioModesModel: destination stays as it was: "
                          + "it can be set before start() only")
            modes.destination = "Rear"
            compare(modes.destination, "Cabin")
        }
    }
}
