# SPDX-License-Identifier: MIT
"""What goes over a bus between clients of the library and the simulated service follows the schema of the protocol."""

import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import dbus
import dbus.lowlevel

from kivinterop import HMI_PATH, INTERFACE, PATIENCE
from kivtrace import CLIENT, PROGRAM, SIMULATOR, TraceTest

from kivprotocol import MESSAGES, RECORD_VALIDATOR, ROOT, VALIDATORS, forms, forms_of

CONTROL = "com.kiv.AudioSimulator"
END = "endOfTest"
CONTENT = {"call": "arguments", "reply": "result", "signal": "payload"}
HMI_WORK = [(0, "modes"), (0, "mode"), (0, "set-mode", "Bluetooth")]
PLAYER = ("stream", "--name", "player", "--mode-name", "Podcast", "--request", "--playing")
BRIEFLY = ("--timeout", "0.3")
# What kivctl does in each scenario of the library: its exit code and arguments.
SCENARIOS = {
    "answers-errors": [(1, "modes"), (1, "set-mode", "Bluetooth"), (1, *PLAYER)],
    "answers-garbage": [*[(6, "modes")] * 4, (6, "modes"), (6, "mode"), (6, *PLAYER)],
    "appears-late": [(0, "set-mode", "Bluetooth", "--wait", "--timeout", "5"), (0, *PLAYER)],
    "calls-back-while-waiting": [*HMI_WORK, (0, *PLAYER)],
    "crashes-in-call": [(0, "modes"), (4, "set-mode", "Bluetooth"), (4, "modes")],
    "flood": [(0, "mode"), (5, "monitor", "--timeout", "1"), (0, *PLAYER)],
    "never-answers": [(5, "modes", *BRIEFLY), (5, *PLAYER, *BRIEFLY)],
    "not-running": [(4, "modes"), (4, *PLAYER)],
    "phone-call-interrupts-music": [(0, *PLAYER, "--for", "1")],
    "restarts": [(5, "monitor", "--timeout", "1.5"), (0, *PLAYER)],
    "two-hmis": [(5, "monitor", "--timeout", "1"), *HMI_WORK],
}
# What the service says there that is not the protocol's, on purpose: the message, the member, what the schema says of it.
VIOLATIONS = {
    "answers-garbage": set(),
    "flood": {"onAudioFocusChange.arguments: newFocus: enum"},
}


def name_of(record):
    """The name of what a record holds: of a request's failure "error"."""
    part = CONTENT[record["record"]]
    if part == "result" and record["direction"] == "toClient" and "errCode" in record.get(part, {}):
        return "error"
    return f"{record.get('method') or record['signal']}.{part}"


def violations_of(record):
    """What a message does against the protocol: in short, and for people."""
    name = name_of(record)
    if name not in VALIDATORS:
        return {f"{name}: unknown": "no message of the protocol"}
    if "text" in record:
        return {f"{name}: no JSON": record["text"]}
    errors = VALIDATORS[name].iter_errors(record[CONTENT[record["record"]]])
    return {": ".join([name, *map(str, error.absolute_path), error.validator]): error.message for error in errors}


def without_what_differs(record):
    """The record's text without what differs between equal messages."""
    return json.dumps({key: value for key, value in record.items()
                       if key not in ("time", "serial", "durationMicroseconds", "sender", "senderNames", "destination",
                                      "destinationNames")})


class Traffic(TraceTest):

    def setUp(self):
        super().setUp()
        self.trace = self.start_trace()

    def start_service(self, *options):
        service = self.start(SIMULATOR, "--address", self.address, *options)
        self.assertEqual(service.line(), "ready")
        return service

    def control(self):
        return dbus.Interface(self.bus.get_object(CONTROL, "/com/kiv/AudioSimulator", introspect=False),
                              CONTROL + ".Control")

    def kivctl(self, code, *arguments):
        done = subprocess.run([PROGRAM, *arguments], env=self.environment, timeout=PATIENCE, capture_output=True,
                              text=True, check=False)
        self.assertEqual(done.returncode, code, f"kivctl {' '.join(arguments)}: {done.stdout}{done.stderr}")

    def messages(self):
        """The records of all messages since the last time."""
        end = dbus.lowlevel.SignalMessage(HMI_PATH, INTERFACE, "Notify")
        end.append(END, "{}", signature="ss")
        self.bus.send_message(end)
        records = []
        while True:
            record = json.loads(self.trace.line())
            if record.get("signal") == END:
                return records
            if record["record"] in CONTENT:
                records.append(record)

    def check(self, records):
        """What in the records is against the protocol: in short, with the traffic up to there."""
        found = {}
        for text, place in {without_what_differs(record): place for place, record in
                            reversed(list(enumerate(records)))}.items():
            violations = violations_of(records[place])
            self.assertEqual(RECORD_VALIDATOR.is_valid(records[place]), violations == {}, text)
            traffic = "\n".join(map(json.dumps, records[max(place - 5, 0):place + 1]))
            for short, message in violations.items():
                found.setdefault(short, f"{short}: {message}\nat the end of this traffic:\n{traffic}")
        return found

    def assert_only(self, expected, found):
        unexpected = [text for short, text in found.items() if short not in expected]
        self.assertEqual(unexpected, [], "\n".join(["against the protocol:", *unexpected]))
        self.assertEqual(sorted(expected), sorted(found))

    def test_every_scenario_is_played(self):
        library = {path.stem for path in (ROOT / "tools/simulator/scenarios").glob("*.json")}
        self.assertEqual(set(SCENARIOS), library)

    def test_scenarios_speak_the_protocol(self):
        for scenario, commands in SCENARIOS.items():
            with self.subTest(scenario):
                service = self.start_service("--scenario", scenario)
                for command in commands:
                    self.kivctl(*command)
                service.end()
                records = self.messages()
                self.assertEqual(records == [], scenario == "not-running")
                self.assert_only(VIOLATIONS.get(scenario, set()), self.check(records))


if __name__ == "__main__":
    unittest.main()
