# SPDX-License-Identifier: MIT
"""The lines that kivctl --json prints follow the published schema; and what a strict bus makes of kivctl."""

import json
import os
import signal
import subprocess
import time
import unittest

import dbus
import jsonschema
from kivctltest import KivctlTest, PROGRAM, SOURCE, kivinterop

with open(os.path.join(SOURCE, "schemas", "kivctl-output.schema.json"), encoding="utf-8") as schema_file:
    SCHEMA = json.load(schema_file)
VALIDATOR = jsonschema.Draft7Validator(SCHEMA)


class SchemaTest(unittest.TestCase):
    def test_schema_isValid(self):
        jsonschema.Draft7Validator.check_schema(SCHEMA)

    def test_schema_listsEachDefinitionOnce(self):
        listed = [choice["$ref"].rsplit("/", 1)[1] for choice in SCHEMA["oneOf"]]
        self.assertEqual(listed, list(SCHEMA["definitions"]))

    def test_definition_isNamedLikeItsEvent(self):
        for name, definition in SCHEMA["definitions"].items():
            self.assertEqual(definition["properties"]["event"], {"const": name})

    def test_recordsThatAreNone_areRefused(self):
        for record in ({}, {"event": "mode"}, {"event": "mode", "mode": 1}, {"event": "tea", "mode": "Radio"},
                       {"event": "mode", "mode": "Radio", "more": 1},
                       {"event": "modeList", "modes": [], "added": "a", "removed": "b"}):
            self.assertFalse(VALIDATOR.is_valid(record), record)


class OutputTest(KivctlTest):
    """Each command against the simulated service."""

    def records_of(self, text):
        records = [json.loads(line) for line in text.splitlines()]
        for record in records:
            VALIDATOR.validate(record)
        return records

    def output_of(self, code, *arguments):
        actual, output, _ = self.run_kivctl("--json", *arguments)
        self.assertEqual(actual, code)
        return self.records_of(output)

    def test_modes(self):
        self.start_simulator()
        self.assertEqual(self.output_of(0, "modes"), [{"event": "modeList", "modes": ["Radio", "Bluetooth"]}])

    def test_modes_noneOffered_printsAnEmptyList(self):
        self.start_service({"openSession": '{"sessionId":7}', "getModeList": '{"modeList":[]}'},
                           kivinterop.HMI_PATH)
        self.assertEqual(self.output_of(0, "modes"), [{"event": "modeList", "modes": []}])

    def test_fullDisk_isReported(self):
        self.start_simulator()
        for command in (["modes"], ["mode"], ["status"], ["set-mode", "Bluetooth"], ["stream", "--name", "N"]):
            with self.subTest(command), open("/dev/full", "wb") as full:
                done = subprocess.run([PROGRAM, *command], env=self.environment, stdout=full, stderr=subprocess.PIPE,
                                      timeout=kivinterop.PATIENCE, check=False)
                self.assertEqual((done.stderr, done.returncode),
                                 (b"kivctl: cannot write to standard output\n", 2))

    def test_trace_emptyFileName_isWrongUsage(self):
        code, output, errors = self.run_kivctl("trace", "")
        self.assertEqual((code, output, errors.splitlines()[0]),
                         (2, "", "kivctl: trace: expected the name of a capture file"))

    def test_mode(self):
        self.start_simulator()
        self.assertEqual(self.output_of(0, "mode"), [{"event": "mode", "mode": "Radio"}])

    def test_setMode(self):
        self.start_simulator()
        self.assertEqual(self.output_of(0, "set-mode", "Bluetooth"), [{"event": "modeSet", "mode": "Bluetooth"}])

    def test_refusals_printNoRecord(self):
        self.start_simulator()
        self.assertEqual(self.output_of(1, "set-mode", "Phone"), [])
        self.assertEqual(self.output_of(1, "modes", "--destination", "Nowhere"), [])

    def test_stream(self):
        self.start_simulator()
        self.assertEqual(self.output_of(0, "stream", "--name", "N", "--request"), [
            {"event": "streamRegistered", "streamName": "N"},
            {"event": "focusDecision", "streamName": "N", "focus": "granted"},
            {"event": "focusDecision", "streamName": "N", "focus": "abandoned"}])

    def test_stream_refused(self):
        self.start_simulator("--refuse", "N")
        self.assertEqual(self.output_of(1, "stream", "--name", "N", "--query"), [
            {"event": "streamRegistered", "streamName": "N"},
            {"event": "focusDecision", "streamName": "N", "focus": "wouldFail"}])

    def test_stream_thatLosesItsFocus(self):
        self.start_simulator()
        stream = self.start_kivctl("stream", "--name", "N", "--request", "--hold", "--json")
        self.assertEqual(self.records_of("\n".join(stream.lines(2))), [
            {"event": "streamRegistered", "streamName": "N"},
            {"event": "focusDecision", "streamName": "N", "focus": "granted"}])
        self.output_of(0, "stream", "--name", "Short", "--request", "--transient")
        self.output_of(0, "stream", "--name", "Long", "--request")
        rest, code = stream.end_input()
        self.assertEqual(code, 0)
        self.assertEqual(self.records_of("\n".join(rest)), [
            {"event": "focus", "streamName": "N", "focus": "temporarilyLost"},
            {"event": "focus", "streamName": "N", "focus": "gained"},
            {"event": "focus", "streamName": "N", "focus": "lost"}])

    def test_monitor(self):
        simulator = self.start_simulator()
        monitor = self.start_kivctl("monitor", "--json")
        modes = ["Radio", "Bluetooth"]
        records = self.records_of("\n".join(monitor.lines(3)))
        self.output_of(0, "stream", "--name", "N", "--request", "--mode-name", "Podcast")
        records += self.records_of("\n".join(monitor.lines(4)))
        simulator.end()
        records += self.records_of(monitor.line())
        focus = {"event": "streamFocus", "streamName": "N", "streamModeName": "Podcast",
                 "focusType": "permanent", "streamType": "Media", "destination": "all"}
        self.assertEqual(records, [
            {"event": "service", "running": True},
            {"event": "modeList", "modes": modes},
            {"event": "mode", "mode": "Radio"},
            {"event": "modeList", "modes": modes + ["Podcast"], "added": "Podcast"},
            {**focus, "focus": "gained"},
            {**focus, "focus": "lost"},
            {"event": "modeList", "modes": modes, "removed": "Podcast"},
            {"event": "service", "running": False}])

    def test_call(self):
        self.start_simulator()
        text = '{"currentMode":["Radio"]}'
        self.assertEqual(self.output_of(0, "call", "getMode", '{"destination":"all"}'), [
            {"event": "answer", "method": "getMode", "text": text, "answer": json.loads(text)}])

    def test_call_refused_printsTheAnswerAllTheSame(self):
        self.start_simulator()
        [record] = self.output_of(1, "call", "dance", "{}")
        self.assertEqual(record["answer"], {"errCode": 2, "errMessage": 'there is no method "dance"'})

    def test_call_answerThatIsNoObject_isPrintedAsText(self):
        self.start_service({"openSession": '{"sessionId":7}', "dance": "sorry"}, kivinterop.HMI_PATH)
        self.assertEqual(self.output_of(6, "call", "dance", "{}"),
                         [{"event": "answer", "method": "dance", "text": "sorry"}])


class FullDiskTest(KivctlTest):
    """Standard output that cannot be written."""

    def test_lostHelp_isNoSuccess(self):
        with open("/dev/full", "wb") as full:
            for arguments in (["--help"], ["help", "mode"]):
                done = subprocess.run([PROGRAM, *arguments], env=self.environment, stdout=full,
                                      stderr=subprocess.PIPE, timeout=kivinterop.PATIENCE, check=False)
                self.assertEqual((done.returncode, done.stderr),
                                 (2, b"kivctl: cannot write to standard output\n"), arguments)


class ClosedStreamsTest(KivctlTest):
    """Standard streams that the caller has closed."""

    def run_without(self, *arguments, streams):
        """The exit code, and what is on the standard streams that are open."""
        closing = " ".join(f"{stream}>&-" for stream in streams)
        done = subprocess.run(["sh", "-c", f'exec "$@" {closing}', "sh", PROGRAM, *arguments], env=self.environment,
                              capture_output=True, timeout=kivinterop.PATIENCE, check=False)
        return done.returncode, done.stdout, done.stderr

    def test_closedOutput_isReported(self):
        self.start_simulator()
        for command in (["modes"], ["status"], ["set-mode", "Bluetooth"], ["--help"]):
            for streams in ([1], [0, 1]):
                with self.subTest(command=command, streams=streams):
                    self.assertEqual(self.run_without(*command, streams=streams),
                                     (2, b"", b"kivctl: cannot write to standard output\n"))

    def test_closedInputAndErrors_changeNothing(self):
        self.start_simulator()
        expected = self.run_kivctl("modes")
        self.assertEqual(expected[0], 0)
        code, output, _ = self.run_without("modes", streams=[0, 2])
        self.assertEqual((code, output.decode()), expected[:2])

    def test_noStreamAtAll_theExitCodeTells(self):
        self.start_simulator()
        self.assertEqual(self.run_without("modes", streams=[0, 1, 2])[0], 2)
        self.assertEqual(self.run_without("call", "setMode", '{"newMode":"Phone"}', streams=[0, 1, 2])[0], 1)


class StuckReaderTest(KivctlTest):
    """A reader of standard output that lives and does not read."""

    def setUp(self):
        super().setUp()
        self.start_simulator()
        self.reading_end, self.pipe = os.pipe()
        self.addCleanup(os.close, self.reading_end)
        self.addCleanup(os.close, self.pipe)
        os.set_blocking(self.pipe, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(self.pipe, bytes(4096))
        os.set_blocking(self.pipe, True)

    def start(self, *arguments):
        return subprocess.Popen([PROGRAM, *arguments], env=self.environment, stdout=self.pipe, stderr=subprocess.PIPE)

    def end(self, program):
        errors = program.communicate(timeout=kivinterop.PATIENCE)[1]
        return program.returncode, errors

    def test_timeOver_endsAllTheSame(self):
        for command in ("modes", "trace"):
            program = self.start(command, "--timeout", "0.5")
            self.assertEqual(self.end(program), (5, b"kivctl: nobody reads the standard output\n"), command)

    def test_signal_endsAllTheSame(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            for command in ("modes", "monitor"):
                program = self.start(command)
                self.wait_for_session()
                program.send_signal(number)
                self.assertEqual(self.end(program)[0], code, command)

    def wait_for_session(self):
        """Returns when one more session was opened: what follows is an answer, and output."""
        self.sessions = getattr(self, "sessions", 0) + 1
        control = dbus.Interface(self.bus.get_object("com.kiv.AudioSimulator", "/com/kiv/AudioSimulator",
                                                     introspect=False), "com.kiv.AudioSimulator.Control")
        control.WaitForCalls("getModeList", self.sessions, 20000, signature="suu")


class SilentServiceTest(KivctlTest):
    """A service that lives and does not answer."""

    def test_status_givesUpAfterFiveSeconds(self):
        self.start_simulator().signal(signal.SIGSTOP)
        begin = time.monotonic()
        code, output, errors = self.run_kivctl("status")
        self.assertLess(time.monotonic() - begin, 15)  # the other commands give up after 30
        self.assertEqual((code, output.count("not answering")), (5, 2))
        self.assertEqual(errors.count("no answer within the time-out"), 2)


class BusWithPolicyTest(KivctlTest):
    """A bus on which not everything is allowed."""

    def setUp(self):
        allowing = kivinterop.BUS_CONFIGURATION
        self.addCleanup(setattr, kivinterop, "BUS_CONFIGURATION", allowing)
        kivinterop.BUS_CONFIGURATION = self.configure(allowing)
        super().setUp()

    def configure(self, allowing):
        raise NotImplementedError


class RefusedNameTest(BusWithPolicyTest):
    """A bus that does not let kivctl own its name."""

    def configure(self, allowing):
        return allowing.replace("  </policy>",
                                '    <deny own_prefix="com.quorvantel.audioclient.kivctl"/>\n  </policy>')

    def test_nameRefused_theServiceIsToldTheUniqueName(self):
        self.start_simulator("--log", "text")
        code, output, errors = self.run_kivctl("mode")
        self.assertEqual((code, output), (0, "Radio\n"))
        self.assertRegex(errors, r"\Akivctl: the bus does not give this program the name "
                                 r"com\.quorvantel\.audioclient\.kivctl\.p\d+; "
                                 r"the service is told :\d+\.\d+\n\Z")

    def test_nameRefused_eventsArrive(self):
        self.start_simulator()
        stream = self.start_kivctl("stream", "--name", "N", "--request")
        self.assertEqual(stream.lines(3), ["registered N", "decision granted", "decision abandoned"])


class ForbiddingBusTest(BusWithPolicyTest):
    """A bus that allows what a system bus allows by default: no calls. What to add is tested in tests/policy."""

    POLICY = """
  <policy context="default">
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow own="com.quorvantel.service.AudioManagement"/>
    <allow own="com.kiv.AudioSimulator"/>
    <allow send_destination="org.freedesktop.DBus"/>
    <allow receive_type="method_call"/>
  </policy>
"""

    def configure(self, allowing):
        return allowing.replace("</busconfig>", self.POLICY + "</busconfig>")

    def test_forbiddenCall_endsWithThree(self):
        self.start_simulator()
        code, output, errors = self.run_kivctl("mode")
        self.assertEqual((code, output), (3, ""))
        self.assertIn("kivctl: openSession: org.freedesktop.DBus.Error.AccessDenied: ", errors)


if __name__ == "__main__":
    unittest.main()
