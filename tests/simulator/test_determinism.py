# SPDX-License-Identifier: MIT
"""The same scenario with the same seed and one client gives the same log, but for times and unique names."""

import itertools
import json
import os
import re
import signal
import tempfile
import unittest

from kivsimulator import HERE, SimulatorTest, library, validator
from scriptedclient import ScriptedClient

HMI_STARTS = [("call", "hmi", "openSession"), ("call", "hmi", "getModeList"), ("call", "hmi", "getMode")]
APP_STARTS = [("call", "app", "openSession"), ("call", "app", "registerAudioStream")]
HMI_ENDS = [("call", "hmi", "closeSession")]
APP_ENDS = [("call", "app", "abandonAudioFocus"), ("call", "app", "closeSession")]
BOTH_WORK = [("call", "app", "requestAudioFocus"), ("call", "app", "audioActive"), ("call", "hmi", "setMode"),
             ("call", "hmi", "setMode", {"newMode": "Tape"})]
EVERYTHING = HMI_STARTS + APP_STARTS + BOTH_WORK + APP_ENDS + HMI_ENDS
AFTER_RESTART = HMI_STARTS + APP_STARTS + BOTH_WORK

# What the client does in each scenario of the library; but for the one that ends the process.
SCRIPTS = {
    "answers-errors": EVERYTHING,
    "answers-garbage": [("call", "hmi", "openSession")] * 4 + [("call", "app", "openSession")] * 2 +
                       EVERYTHING,
    "appears-late": [("wait", "came", 1)] + EVERYTHING,
    "calls-back-while-waiting": EVERYTHING,
    "flood": HMI_STARTS + [("wait", "onModeChange", 5000)] + APP_STARTS +
             [("wait", "onAudioFocusChange", 5000)] + BOTH_WORK + APP_ENDS + HMI_ENDS,
    "never-answers": [("in vain", "hmi", "openSession"), ("in vain", "app", "openSession"),
                      ("in vain", "hmi", "openSession")],
    "not-running": [("call", "hmi", "openSession"), ("call", "app", "openSession")],
    "phone-call-interrupts-music": APP_STARTS + [("call", "app", "requestAudioFocus"),
                                                 ("wait", "onAudioFocusChange", 2)] + APP_ENDS,
    "restarts": HMI_STARTS + APP_STARTS + [("wait", "left", 1), ("wait", "came", 2)] + AFTER_RESTART,
    "two-hmis": HMI_STARTS + [("wait", "onModeListChange", 2), ("call", "hmi", "setMode"),
                              ("wait", "onModeChange", 4)] + HMI_ENDS,
}
FOCUS = [("onRequestAudioFocusResult", 1)]
ADDED = REMOVED = [("onModeListChange", 1)]
WORK = ADDED + FOCUS + [("onModeChange", 1)]
EVERYTHING_WORKS = WORK + FOCUS + REMOVED
# What it hears, and how often in a row.
HEARD = {
    "answers-errors": [],
    "answers-garbage": [],
    "appears-late": EVERYTHING_WORKS,
    # The event by which the service calls back comes before those of the request, also where it is refused.
    "calls-back-while-waiting": ADDED + [("onAudioFocusChange", 1)] + FOCUS + [("onModeChange", 3)] + FOCUS +
                                REMOVED,
    "flood": [("onModeChange", 5000)] + ADDED + [("onAudioFocusChange", 5000)] + FOCUS +
             [("onModeChange", 1)] + FOCUS + REMOVED,
    "never-answers": [],
    "not-running": [],
    "phone-call-interrupts-music": FOCUS + [("onAudioFocusChange", 2)] + FOCUS,
    "restarts": ADDED + [("left", 1), ("came", 1)] + WORK,
    "two-hmis": ADDED + [("onModeChange", 2)] + REMOVED + [("onModeChange", 2)],
}
CHANCE = str(HERE / "chance.json")
CHANCE_SCRIPT = (HMI_STARTS + APP_STARTS + [("call", "app", "requestAudioFocus")] +
                 [("call", "hmi", "setMode")] * 20 + [("call", "hmi", "getMode")] * 3 +
                 [("call", "app", "abandonAudioFocus"), ("call", "app", "requestAudioFocus")] * 10)


def normalised(log):
    """The log without times, and with unique names by the order in which they appear."""
    names = {}

    def letter(match):
        return ":1." + chr(ord("a") + names.setdefault(match[0], len(names)))

    return re.sub(r":1\.\d+", letter, re.sub(r'"time":\d+', '"time":0', log))


def in_a_row(texts):
    """The texts, each with how often it is there in a row."""
    return [(text, len(list(group))) for text, group in itertools.groupby(texts)]


class Determinism(SimulatorTest):

    def setUp(self):
        super().setUp()
        self.logs = self.enterContext(tempfile.TemporaryDirectory(prefix="kiv-simulator-"))
        self.validator = validator("simulator-log")

    def play(self, scenario, script, *arguments):
        """Plays a scenario, with a client that does what a script says; the log."""
        path = os.path.join(self.logs, "log")
        # On the bus before the simulator, so as to hear of it.
        client = ScriptedClient(self.address)
        self.addCleanup(client.close)
        simulator = self.start("--scenario", scenario, "--log", "json", "--log-file", path, *arguments)
        for deed, *details in script:
            self.do(client, deed, *details)
        self.heard, self.answers = client.heard, client.answers
        self.assertEqual(simulator.end(), 0)
        with open(path, encoding="utf-8") as file:
            return file.read()

    def do(self, client, deed, subject, what, changes=None):
        if deed == "wait":
            client.wait_for(subject, what)
        elif deed == "in vain":
            client.call_in_vain(subject, what, **(changes or {}))
        else:
            client.call(subject, what, **(changes or {}))

    def check_lines(self, log):
        for line in log.splitlines():
            errors = self.validator.iter_errors(json.loads(line))
            self.assertEqual([error.message for error in errors], [], line)

    def test_every_scenario_is_played_or_crashes(self):
        self.assertEqual({*SCRIPTS, "crashes-in-call"}, set(library()))
        self.assertEqual(set(HEARD), set(SCRIPTS))

    def check_twice(self, name):
        first = self.play(name, SCRIPTS[name])
        second = self.play(name, SCRIPTS[name])
        self.assertMultiLineEqual(normalised(second), normalised(first))
        self.check_lines(first)
        return first

    def test_scenarios_of_the_library(self):
        for name in SCRIPTS:
            with self.subTest(name):
                log = self.check_twice(name)
                came = [] if name == "not-running" else [("came", 1)]
                self.assertEqual(in_a_row(self.heard), came + HEARD[name])
                self.assertEqual(log == "", name == "not-running")

    def test_phone_call_is_told_to_the_player(self):
        log = self.play("phone-call-interrupts-music", SCRIPTS["phone-call-interrupts-music"])
        told = [(record["name"], json.loads(record["payload"])["newFocus"])
                for record in map(json.loads, log.splitlines()) if record["kind"] == "call"]
        self.assertEqual(told, [("onRequestAudioFocusResult", "granted"),
                                ("onAudioFocusChange", "temporarilyLost"), ("onAudioFocusChange", "gained"),
                                ("onRequestAudioFocusResult", "abandoned")])

    def test_crash_ends_the_call_and_the_process(self):
        for starts, role, method in ((HMI_STARTS, "hmi", "setMode"),
                                     (APP_STARTS, "app", "requestAudioFocus")):
            with self.subTest(method):
                client = ScriptedClient(self.address)
                self.addCleanup(client.close)
                simulator = self.start("--scenario", "crashes-in-call")
                for deed, *details in [*starts, ("call", role, method)]:
                    self.do(client, deed, *details)
                self.assertEqual(client.answers[-1], "org.freedesktop.DBus.Error.NoReply")
                self.assertEqual(simulator.end_input(), ([], -signal.SIGABRT))

    def test_step_without_delay_comes_before_the_next_request(self):
        client = ScriptedClient(self.address)
        self.addCleanup(client.close)
        self.start()
        for step in ({"when": {"method": "setMode", "calls": 2}, "do": "addMode", "mode": "Tape"},
                     {"do": "removeMode", "mode": "Tape"},
                     {"when": {"method": "setMode", "calls": 49}, "do": "pressMode", "mode": "Radio"}):
            self.control().AddStep(json.dumps(step))
        client.call("hmi", "openSession")
        client.call_often(50, "hmi", "setMode")
        self.control().WaitForSteps(30000, signature="u")
        kinds = [record["kind"] for record in map(json.loads, self.log_of_control().splitlines())]
        request = ["request", "answer", "call"]
        self.assertEqual(kinds, ["request", "answer"] + 2 * request + 2 * ["call", "step"] + 47 * request +
                         ["call", "step"] + request)

    def test_same_seed_draws_the_same(self):
        first = self.play(CHANCE, CHANCE_SCRIPT, "--seed", "7")
        second = self.play(CHANCE, CHANCE_SCRIPT, "--seed", "7")
        self.assertMultiLineEqual(normalised(second), normalised(first))
        self.check_lines(first)
        for name in ("errCode", "delay", "shuffledEvents"):
            self.assertIn(f'"kind":"fault","name":"{name}"', first)

    def test_other_seed_draws_otherwise(self):
        first = self.play(CHANCE, CHANCE_SCRIPT, "--seed", "7")
        second = self.play(CHANCE, CHANCE_SCRIPT, "--seed", "8")
        self.assertNotEqual(normalised(second), normalised(first))

    def test_seed_that_is_missing_is_1(self):
        first = self.play(CHANCE, CHANCE_SCRIPT)
        second = self.play(CHANCE, CHANCE_SCRIPT, "--seed", "1")
        self.assertMultiLineEqual(normalised(second), normalised(first))

    def test_reset_draws_from_the_start_again(self):
        path = os.path.join(self.logs, "log")
        client = ScriptedClient(self.address)
        self.addCleanup(client.close)
        self.start("--scenario", CHANCE, "--log", "json", "--log-file", path, "--seed", "7")
        rounds = []
        for _ in range(2):
            for deed, *details in CHANCE_SCRIPT:
                self.do(client, deed, *details)
            rounds.append(self.log_of_control())
            self.control().Reset()
        self.assertEqual(normalised(rounds[1]), normalised(rounds[0]))
        self.check_lines(rounds[0])
        with open(path, encoding="utf-8") as file:
            self.assertEqual(file.read(), "".join(rounds))

    def log_of_control(self):
        """The whole log as the control interface returns it."""
        log = ""
        number = 0
        while True:
            lines, number = self.control().ReadLog(number, signature="u")
            if not lines:
                return log
            log += "".join(f"{line}\n" for line in lines)


if __name__ == "__main__":
    unittest.main()
