# SPDX-License-Identifier: MIT
"""What goes over a bus between clients of the library and the simulated service follows the schema of the protocol."""

import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import unittest

import dbus
import dbus.lowlevel

from kivinterop import HMI_PATH, INTERFACE, PATIENCE
from kivtrace import CLIENT, PROGRAM, SIMULATOR, TraceTest

from kivprotocol import MESSAGES, RECEIVED, RECORD_VALIDATOR, ROOT, VALIDATORS, forms, forms_of

CONTROL = "com.kiv.AudioSimulator"
END = "endOfTest"
CONTENT = {"call": "arguments", "reply": "result", "signal": "payload"}
HMI_WORK = [(0, "modes"), (0, "mode"), (0, "set-mode", "Bluetooth")]
PLAYER = ("stream", "--name", "player", "--mode-name", "Podcast", "--request", "--playing")
KILLED = -signal.SIGKILL
# What kivctl does in each scenario of the library: its exit code and arguments. It is killed where it would wait in vain.
SCENARIOS = {
    "answers-errors": [(1, "modes"), (1, "set-mode", "Bluetooth"), (1, *PLAYER)],
    "answers-garbage": [*[(6, "modes")] * 5, (6, "mode"), (6, *PLAYER)],
    "appears-late": [(0, "set-mode", "Bluetooth", "--wait", "--timeout", "20"), (0, *PLAYER)],
    "calls-back-while-waiting": [*HMI_WORK, (0, *PLAYER)],
    "crashes-in-call": [(0, "modes"), (4, "set-mode", "Bluetooth"), (4, "modes")],
    "flood": [(0, "mode"), (0, *PLAYER)],
    "never-answers": [(KILLED, "modes"), (KILLED, *PLAYER)],
    "not-running": [(4, "modes"), (4, *PLAYER)],
    "phone-call-interrupts-music": [(0, *PLAYER, "--for", "0.8")],
    "restarts": [(5, "monitor", "--timeout", "1.2"), (0, *PLAYER)],
    "two-hmis": [(5, "monitor", "--timeout", "1"), *HMI_WORK],
}
# What the service says there that is not the protocol's, on purpose: the message, the member, what the schema says of it.
VIOLATIONS = {
    "answers-garbage": {
        "openSession.result: no JSON", "openSession.result: required", "openSession.result: sessionId: type",
        "openSession.result: sessionId: minimum", "openSession.result: sessionId: maximum",
        "getModeList.result: no JSON", "closeSession.result: no JSON"},
    "flood": {"onAudioFocusChange.arguments: newFocus: enum"},
}


def name_of(record):
    """The name of what a record holds: of a request's failure "error"."""
    part = CONTENT[record["record"]]
    name = f"{record.get('method') or record['signal']}.{part}"
    is_error = part == "result" and name in RECEIVED and "errCode" in record.get(part, {})
    return "error" if is_error else name


def violations_of(record):
    """What a message does against the protocol: in short, and for people."""
    name = name_of(record)
    if name not in VALIDATORS:
        return {f"{name}: unknown": "no message of the protocol"}
    if "text" in record:
        return {f"{name}: no JSON": record["text"]}
    errors = VALIDATORS[name].iter_errors(record[CONTENT[record["record"]]])
    return {": ".join([name, *map(str, error.absolute_path), error.validator]): error.message for error in errors}


def text_of(record):
    """A message without what differs between equal ones."""
    kinds = ("record", "direction", "role", "method", "signal")
    content = record.get("text") or json.dumps(record[CONTENT[record["record"]]])
    return " ".join([*(record[kind] for kind in kinds if kind in record), content])


class Traffic(TraceTest):

    def setUp(self):
        super().setUp()
        self.trace = self.start_trace()
        self.records = []

    def start_service(self, *options):
        service = self.start(SIMULATOR, "--address", self.address, *options)
        self.assertEqual(service.line(), "ready")
        return service

    def control(self, method, *texts):
        """Calls the simulator's control interface."""
        simulator = self.bus.get_object(CONTROL, "/com/kiv/AudioSimulator", introspect=False)
        return simulator.get_dbus_method(method, CONTROL + ".Control")(*texts, signature="s" * len(texts))

    def kivctl(self, code, *arguments):
        program = self.start(PROGRAM, *arguments)
        if code == KILLED:
            self.wait_for_record("call", "openSession")
            program.signal(signal.SIGKILL)
        _, ended = program.end_input()
        self.assertEqual(ended, code, f"kivctl {' '.join(arguments)}: {program.errors()}")

    def next_record(self):
        record = json.loads(self.trace.line())
        if record["record"] in CONTENT and record.get("signal") != END:
            self.records.append(record)
        return record

    def wait_for_record(self, kind, method):
        record = self.next_record()
        while (record["record"], record.get("method")) != (kind, method):
            record = self.next_record()

    def messages(self):
        """The records of all messages since the service was started."""
        end = dbus.lowlevel.SignalMessage(HMI_PATH, INTERFACE, "Notify")
        end.append(END, "{}", signature="ss")
        self.bus.send_message(end)
        while self.next_record().get("signal") != END:
            pass
        return self.records

    def check(self, records):
        """What in the records is against the protocol: in short, and with the traffic up to there."""
        texts = [text_of(record) for record in records]
        found = {}
        for text, place in {text: place for place, text in reversed(list(enumerate(texts)))}.items():
            violations = violations_of(records[place])
            self.assertEqual(RECORD_VALIDATOR.is_valid(records[place]), violations == {}, text)
            traffic = "\n    ".join(texts[max(place - 5, 0):place + 1])
            for short, message in violations.items():
                found.setdefault(short, f"{short}: {message}, at the end of\n    {traffic}")
        return found

    def assert_only(self, expected, found):
        unexpected = [text for short, text in found.items() if short not in expected]
        if unexpected:
            self.fail("\n".join(["against the protocol:", *unexpected]))
        self.assertEqual(sorted(expected), sorted(found))

    def test_every_scenario_is_played(self):
        library = {path.stem for path in (ROOT / "tools/simulator/scenarios").glob("*.json")}
        self.assertEqual(set(SCENARIOS), library)

    def test_scenarios_speak_the_protocol(self):
        for scenario, commands in SCENARIOS.items():
            with self.subTest(scenario):
                self.records = []
                service = self.start_service("--scenario", scenario)
                for command in commands:
                    self.kivctl(*command)
                service.end()
                records = self.messages()
                self.assertEqual(records == [], scenario == "not-running")
                self.assert_only(VIOLATIONS.get(scenario, set()), self.check(records))

    def client(self, role):
        client = self.start(CLIENT, role)
        self.assertEqual(client.line(), "state INIT_STATE_SUCCESS")
        return client

    def hear(self, client, *lines):
        """Reads lines of a client, in any order."""
        self.assertEqual(sorted(client.lines(len(lines))), sorted(lines))

    def spoil(self, method, kind, member):
        """Changes the next answer to a method, into another one that the protocol has."""
        self.control("ArmFault", json.dumps({"kind": kind, "method": method, "member": member}))

    def ask_for_modes(self, hmi):
        """Of a destination; of all, with a text in the place of a list."""
        for command in ("modes", "mode"):
            self.kivctl(0, command, "--destination", "front")
        members = {"GetModeList": "modeList", "GetMode": "currentMode"}
        for number, (method, member) in enumerate(members.items(), 1):
            self.spoil(f"g{method[1:]}", "wrongType", member)
            hmi.send(f"g{method[1:]}")
            self.hear(hmi, f"request {number}", f"event {method}Completed {number} true")

    def switch_the_mode(self, hmi):
        self.kivctl(0, "set-mode", "Bluetooth")
        self.hear(hmi, "event ModeChanged [Bluetooth]")

    def decide_on_streams(self):
        """The stream "never" is refused."""
        self.kivctl(0, "stream", "--name", "query", "--query")
        self.kivctl(1, "stream", "--name", "never", "--query")
        self.kivctl(1, "stream", "--name", "never", "--request")
        self.kivctl(0, "stream", "--name", "announcement", "--transient", "--request", "--playing")

    def lose_the_focus(self, app):
        """To streams of the device: for a while, then for good."""
        app.send("request")
        self.hear(app, "request 1", "event RequestAudioFocusCompleted 1 true",
                  "event ResponseToAudioFocusRequest [granted]")
        self.control("StartStream", "phone", "Phone", "transient")
        self.hear(app, "event AudioFocusChanged [temporarilyLost]")
        self.control("StartStream", "alarm", "Alarm", "transient")
        self.control("StopStream", "alarm")
        self.control("StopStream", "phone")
        self.hear(app, "event AudioFocusChanged [gained]")
        self.control("StartStream", "emergency", "Emergency", "permanent")
        self.hear(app, "event AudioFocusChanged [lost]")

    def be_refused(self, app):
        """A focus that is lost cannot be given back; the second time the service does not say why."""
        for number in (2, 3):
            app.send("abandon it is over")
            self.hear(app, f"request {number}", f"event AbandonAudioFocusCompleted {number} false")
            self.spoil("abandonAudioFocus", "missingMember", "errMessage")

    def test_every_form_of_every_message_is_seen_and_follows_the_protocol(self):
        self.start_service("--modes", "front=Radio,Bluetooth", "--refuse", "never")
        hmi = self.client("hmi")
        self.ask_for_modes(hmi)
        self.switch_the_mode(hmi)
        self.decide_on_streams()
        app = self.client("app")
        self.lose_the_focus(app)
        self.be_refused(app)
        self.assertEqual(app.end_input(), (["stopped"], 0))
        while not hmi.line().startswith("event ModeListChanged false"): # has heard of the stream's end
            pass
        self.assertEqual(hmi.end_input(), (["stopped"], 0))

        records = self.messages()
        self.assert_only(set(), self.check(records))
        seen = {form for record in records
                for form in forms_of(name_of(record), record[CONTENT[record["record"]]])}
        self.assertEqual(sorted(seen), sorted(form for name in MESSAGES for form in forms(name)))

    def test_message_outside_the_protocol_is_reported_with_its_traffic(self):
        self.start_service()
        self.kivctl(0, "modes")
        self.kivctl(1, "call", "getMode", '{"destination":"","volume":11}')
        self.kivctl(1, "call", "getVolume", "{}")
        found = self.check(self.messages())
        self.assertEqual(sorted(found), ["getMode.arguments: additionalProperties",
                                         "getMode.arguments: destination: minLength",
                                         "getVolume.arguments: unknown", "getVolume.result: unknown"])
        self.assertRegex(found["getMode.arguments: additionalProperties"],
                         r"'volume' was unexpected\), at the end of(\n    .*){5}\n    "
                         r'call toService hmi getMode {"destination": "", "sessionId": 2, "volume": 11}$')

    def output_of(self, script, folder):
        environment = dict(os.environ, PATH=f"{os.path.dirname(PROGRAM)}:/usr/bin:/bin")
        done = subprocess.run(["/bin/sh", "-e", "-c", script], cwd=folder, env=environment, timeout=PATIENCE,
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.stderr, done.returncode), ("", 0))
        return done.stdout

    def test_recipe_of_the_page_finds_what_is_against_the_protocol(self):
        page = (ROOT / "docs/protocol.md").read_text(encoding="utf-8")
        recipe = re.search(r"```sh\n(.*?)```", page, re.DOTALL)[1]
        installed = "/usr/share/kiv-qtdbus-lib/schemas/protocol.schema.json"
        self.assertEqual(recipe.count(installed), 1)
        recipe = recipe.replace(installed, str(ROOT / "schemas/protocol.schema.json"))
        with tempfile.TemporaryDirectory(prefix="kiv-protocol-") as folder:
            capture = shutil.copy(ROOT / "tests/kivctl-trace/data/session.pcapng", f"{folder}/capture.pcapng")
            self.assertEqual(self.output_of(recipe, folder), "")
            with open(capture, "rb") as file:
                content = file.read()
            self.assertEqual(content.count(b"granted"), 1)
            with open(capture, "wb") as file:
                file.write(content.replace(b"granted", b"refused"))
            self.assertRegex(self.output_of(recipe, folder),
                             r"^{.*\"method\":\"onRequestAudioFocusResult\".*}\n 'refused' is not one of \[.*\]\n$")


if __name__ == "__main__":
    unittest.main()
