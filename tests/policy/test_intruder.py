# SPDX-License-Identifier: MIT
"""What an intruder can do to a client of the library, with the shipped policy and without any; and what it costs."""

import os
import time
import unittest

import systembus

systembus.become_root()
from gi.repository import Gio  # noqa: E402
import cases  # noqa: E402
import rawbus  # noqa: E402

HMI_NAME = cases.PREFIX + ".hmi"
HMI_PATH = "/com/quorvantel/audioclient/hmi/ServiceProviderClient"
CONTROL = "com.kiv.AudioSimulator"
CALLS = 100_000 if os.environ.get("KIV_NIGHTLY") == "1" else 5_000
WINDOW = 100  # calls under way; a system bus allows 128
NO_SESSION = 4_000_000_000
FORGED_FOCUS = ('{"streamName":"forged","streamModeName":"m","focusType":"permanent","streamType":"t",'
                '"destination":"all","newFocus":"gained"}')


def mode_change(session, mode="Forged"):
    arguments = '{"sessionId":%d,"activeMode":"%s"}' % (session, mode)
    return cases.call(HMI_NAME, HMI_PATH, cases.INTERFACE, "Request", rawbus.texts("onModeChange", arguments))


class IntruderTest(systembus.SystemBusTest):
    """An HMI with an open session, number 1, whose log is on; and an intruder."""

    def setUp(self):
        super().setUp()
        self.service = self.start("service", "KIV_SIMULATOR", "--modes", "Radio,Bluetooth,Aux")
        self.assertEqual(self.service.line(), "ready")
        self.hmi = self.start("panel", "KIV_HMI_CONSOLE", QT_LOGGING_RULES="default.debug=true")
        self.state = self.hmi.line()
        self.assertEqual(self.state, "modes: Radio, Bluetooth, Aux; current: Radio")
        self.root, self.intruder = self.connect("root"), self.connect("intruder")

    def flood(self, messages):
        """Sends calls, a window at a time; the answers by name of error, "" for a reply."""
        outcomes, under_way = {}, 0
        for message in messages:
            self.intruder.send(message)
            under_way += 1
            if under_way == WINDOW:
                self._count(outcomes)
                under_way -= 1
        for _ in range(under_way):
            self._count(outcomes)
        return outcomes

    def measured_flood(self, session):
        """The outcomes of a flood with a session identifier, and a text that says what it has cost."""
        parts = {"": time.monotonic, " of the client's processor": self.hmi.processor_time,
                 " of the bus daemon's": self.daemon.processor_time}
        begin = {part: clock() for part, clock in parts.items()}
        outcomes = self.flood(mode_change(session) for _ in range(CALLS))
        costs = [f"{1e6 * (clock() - begin[part]) / CALLS:.0f} us{part}" for part, clock in parts.items()]
        return outcomes, f"{CALLS} calls, each: {', '.join(costs)}"

    def _count(self, outcomes):
        answer = self.intruder.receive()
        while answer.get_message_type() not in (rawbus.REPLY, rawbus.ERROR):
            answer = self.intruder.receive()
        name = answer.get_error_name() or ""
        outcomes[name] = outcomes.get(name, 0) + 1

    def mark(self, mode):
        """Something that the service tells the HMI, behind all that was sent to the HMI before."""
        message = cases.call(CONTROL, "/com/kiv/AudioSimulator", CONTROL + ".Control", "PressMode",
                             rawbus.texts(mode, ""))
        answer = self.root.exchange(message)
        self.assertIsNone(answer.get_error_name(), answer.get_body())
        return f"mode is now {mode}"

    def records_of_calls(self):
        """How many calls of its object the client has logged, and how many of them as being of another session."""
        records = self.hmi.end()
        return tuple(sum(text in record for record in records)
                     for text in ("ServiceProviderClient::Request", "Received non-matching session id"))

    def heard_of_forged_notifications(self):
        """Sends the HMI two of them, which it does not act on; what another listener on the bus has heard."""
        listener = self.connect("player")
        listener.listen(f"type='signal',interface='{cases.INTERFACE}'")
        listener.arrived()
        for destination in (None, HMI_NAME):
            self.intruder.send(cases.signal(destination, cases.SERVICE_PATH, cases.INTERFACE, "Notify",
                                            rawbus.texts("audioFocusChangeEvent", FORGED_FOCUS)))
        self.intruder.arrived()
        heard = [message.get_member() for message in listener.arrived()]
        expected = self.mark("Bluetooth")
        self.assertEqual(self.hmi.line(), expected)
        self.assertEqual([line for line in self.hmi.end() if "forged" in line], [])
        return heard

    def assert_state(self, current):
        self.hmi.send("modes")
        self.assertEqual(self.hmi.line(), self.state.replace("current: Radio", f"current: {current}"))


class UnderThePolicyTest(IntruderTest):
    """The shipped policy."""

    def test_flood_changesNothingAndLeavesNoTraceInTheClient(self):
        outcomes, cost = self.measured_flood(1)
        self.assertEqual(outcomes, {cases.DENIED: CALLS})
        self.assert_state("Radio")
        expected = self.mark("Bluetooth")
        self.assertEqual(self.hmi.line(), expected)
        self.assert_state("Bluetooth")
        self.assertEqual(self.records_of_calls(), (1, 0))
        refused = self.daemon.log().count("Rejected send message")
        self.assertEqual(refused, CALLS)
        print(f"with the policy: {cost}; records of the client: 0; lines of the bus daemon's log: {refused}")

    def test_forgedNotifications_doNotArrive(self):
        self.assertEqual(self.heard_of_forged_notifications(), [])

    def test_guessedSessionsOfTheService_areRefusedByTheBus(self):
        message = cases.call(cases.SERVICE, cases.SERVICE_PATH, cases.INTERFACE, "Request",
                             rawbus.texts("setMode", '{"newMode":"Aux","sessionId":1}'))
        self.assertEqual(self.intruder.exchange(message).get_error_name(), cases.DENIED)
        self.assert_state("Radio")

    def test_otherApplication_thatGuessesTheSession_isRefusedByTheSimulatedService(self):
        """The policy lets clients call the service; whose session it is the service has to check."""
        message = cases.call(cases.SERVICE, cases.SERVICE_PATH, cases.INTERFACE, "Request",
                             rawbus.texts("setMode", '{"newMode":"Aux","sessionId":1}'))
        answer = self.connect("player").exchange(message)
        self.assertRegex(answer.get_body().unpack()[0], r'\A\{"errCode":8,')
        self.assert_state("Radio")


class WithoutAPolicyTest(IntruderTest):
    """A bus on which everybody may do everything."""

    ADDITION = systembus.EVERYTHING

    def test_flood_costsTheClientACriticalRecordACallAndChangesNothing(self):
        outcomes, cost = self.measured_flood(NO_SESSION)
        self.assertEqual(outcomes, {"": CALLS})
        self.assertEqual(self.daemon.log().count("Rejected"), 0)
        self.assert_state("Radio")
        self.assertEqual(self.records_of_calls(), (CALLS, CALLS))
        print(f"without a policy: {cost}; records of the client: {CALLS} debug, {CALLS} critical")

    def test_guessingTheSession_bringsAForgedModeToTheApplication(self):
        guesses = 64
        begin = time.monotonic()
        outcomes = self.flood(mode_change(session, f"Forged{session}") for session in range(guesses))
        seconds = time.monotonic() - begin
        self.assertEqual(outcomes, {"": guesses})
        self.assertEqual(self.hmi.line(), "mode is now Forged1")
        self.hmi.send("modes")
        self.assertEqual(self.hmi.line(), self.state.replace("current: Radio", "current: Forged1"))
        print(f"without a policy: {guesses} session identifiers tried in {1000 * seconds:.1f} ms")

    def test_forgedNotifications_areOnTheBusAndTheClientDropsThem(self):
        self.assertEqual(self.heard_of_forged_notifications(), ["Notify"])

    def test_intruder_takesEveryNameThatIsFree(self):
        self.assertEqual(self.intruder.own(cases.SERVICE), "refused with 3")
        self.service.end()
        self.assertEqual(self.intruder.own(cases.SERVICE), "done")
        self.assertEqual(self.intruder.own(cases.PLAYER), "done")


if __name__ == "__main__":
    unittest.main()
