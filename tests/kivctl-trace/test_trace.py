# SPDX-License-Identifier: MIT
"""kivctl trace on a living bus: what it shows, what it does not, and how it ends."""

import os
import re
import signal
import subprocess
import unittest

import capturefile
from kivinterop import APP_PATH, CLIENT_NAME, CLIENT_PATH, HMI_PATH, INTERFACE, PATIENCE, SERVICE
from kivtrace import RawConnection, TraceTest, command, record_of, without_times

FOCUS_EVENT = ('{"destination":"front","focusType":"permanent","newFocus":"%s",'
               '"streamModeName":"/com/quorvantel/audioclient/interop","streamName":"Interop Player",'
               '"streamType":"Media"}')


def call(serial, method, arguments, path=HMI_PATH, **fields):
    """A call of the interface to the service as bytes; the bus adds the sender."""
    texts = () if method is None else (method, arguments)
    return capturefile.message(capturefile.CALL, serial, texts, path=path,
                               **{"interface": INTERFACE, "member": "Request", "destination": SERVICE, **fields})


class Trace(TraceTest):

    def connect(self):
        raw = RawConnection(self.address)
        self.addCleanup(raw.close)
        return raw

    def records_of(self, trace, count):
        return [record_of(line) for line in trace.lines(count)]

    # What is shown

    def test_session_of_an_application_is_shown_message_by_message(self):
        simulator = self.start_simulator()
        owner = self.bus.get_name_owner(SERVICE)
        trace = self.start_trace("text")
        self.assertEqual(without_times(self.first_line), f"TIME -- bus  service present  [{owner}]")
        lines = self.play_session(trace)
        me = re.search(r"\[(:\S+) ", lines[0]).group(1)
        client = f"  [{me} {CLIENT_NAME}]  session 1"
        called = f"  [{me} {CLIENT_NAME} {CLIENT_PATH}]  session 1"
        opening = f'{{"busName":"{CLIENT_NAME}","destination":"front","objectPath":"{CLIENT_PATH}"}}'
        stream = ('{"focusType":"permanent","sessionId":1,"streamModeName":"/com/quorvantel/audioclient/interop",'
                  '"streamName":"Interop Player","streamType":"Media"}')
        focus = '{"newFocus":"granted","sessionId":1}'
        expected = [
            f"<- app  openSession {opening}  [{me} {CLIENT_NAME}]",
            f'-> app  openSession = {{"sessionId":1}}{client}, N us',
            f"<- app  registerAudioStream {stream}{client}",
            f"-> app  registerAudioStream = {{}}{client}, N us",
            f'<- app  requestAudioFocus {{"requestType":"request","sessionId":1}}{client}',
            f"-> app  requestAudioFocus = {{}}{client}, N us",
            f"-> app  onRequestAudioFocusResult {focus}{called}",
            f"=> hmi  audioFocusChangeEvent {FOCUS_EVENT % 'gained'}  [{owner} {SERVICE}]",
            f"<- app  onRequestAudioFocusResult = {{}}{called}, N us",
            f'<- app  closeSession {{"sessionId":1}}{client}',
            f"-> app  closeSession = {{}}{client}, N us",
            f"=> hmi  audioFocusChangeEvent {FOCUS_EVENT % 'lost'}  [{owner} {SERVICE}]",
        ]
        simulator.signal(signal.SIGTERM)
        shown = [without_times(line) for line in [*lines, trace.line()]]
        self.assertEqual(shown, [f"TIME {line}" for line in expected] + [f"TIME -- bus  service left  [{owner}]"])
        self.assertEqual(self.interrupted(trace), [])

    def test_json_record_has_every_part(self):
        self.start_simulator()
        owner = str(self.bus.get_name_owner(SERVICE))
        trace = self.start_trace()
        records = [record_of(line) for line in self.play_session(trace)]
        for record in records:
            del record["time"]
            self.assertEqual("durationMicroseconds" in record, record.pop("durationMicroseconds", None) is not None)
        me = records[0]["sender"]
        call_part = {"role": "app", "serial": records[4]["serial"], "method": "requestAudioFocus", "session": 1,
                     "path": APP_PATH, "direction": "toService"}
        client = {"name": me, "names": [CLIENT_NAME]}
        service = {"name": owner, "names": [SERVICE]}

        def parties(sender, destination):
            return {"sender": sender["name"], "senderNames": sender["names"], "destination": destination["name"],
                    "destinationNames": destination["names"]}

        destination = records[4]["destination"]
        self.assertIn(destination, (owner, SERVICE))
        self.assertEqual(records[4], {"record": "call", "arguments": {"requestType": "request", "sessionId": 1},
                                      **call_part, **parties(client, dict(service, name=destination))})
        self.assertEqual(records[5], {"record": "reply", "result": {}, **call_part, **parties(service, client)})
        self.assertEqual(records[6], {"record": "call", "arguments": {"newFocus": "granted", "sessionId": 1},
                                      "method": "onRequestAudioFocusResult", "direction": "toClient", "session": 1,
                                      "role": "app", "path": CLIENT_PATH, "serial": records[6]["serial"],
                                      **parties(service, client)})
        self.assertEqual({key: value for key, value in records[7].items() if key != "payload"},
                         {"record": "signal", "signal": "audioFocusChangeEvent", "role": "hmi", "path": HMI_PATH,
                          "sender": owner, "senderNames": [SERVICE]})
        self.interrupted(trace)

    def test_service_coming_and_leaving_is_shown(self):
        trace = self.start_trace()
        first = record_of(self.first_line)
        del first["time"]
        self.assertEqual(first, {"record": "service", "state": "absent"})
        simulator = self.start_simulator()
        came = record_of(trace.line())
        self.assertEqual((came["state"], came["owner"]), ("came", str(self.bus.get_name_owner(SERVICE))))
        simulator.signal(signal.SIGTERM)
        self.assertEqual(record_of(trace.line())["state"], "left")
        self.assertEqual(self.interrupted(trace), [])

    def test_other_traffic_is_not_shown(self):
        self.start_simulator()
        trace = self.start_trace()
        raw = self.connect()
        for data in (call(2, "other", "{}", interface="com.example.Other"),
                     call(3, None, None, interface="org.freedesktop.DBus.Introspectable", member="Introspect"),
                     call(4, None, None, interface="org.freedesktop.DBus.Peer", member="Ping"),
                     capturefile.message(capturefile.SIGNAL, 5, ("a", "{}"), path=HMI_PATH, member="Notify",
                                         interface="com.example.Other"),
                     capturefile.message(capturefile.REPLY, 6, ("{}",), reply_serial=99, destination=SERVICE),
                     call(7, "last", "{}")):
            raw.send(data)
        self.assertEqual([(record["record"], record["serial"]) for record in self.records_of(trace, 2)],
                         [("call", 7), ("reply", 7)])
        self.assertEqual(self.interrupted(trace), [])

    def test_numbers_keep_their_spelling(self):
        self.start_simulator()
        trace = self.start_trace()
        self.connect().send(call(2, "x", '{"sessionId":3000000000,"b":9007199254740991,"c":-2147483649,"d":1.5}'))
        line = trace.line()
        self.assertIn('"arguments":{"b":9007199254740991,"c":-2147483649,"d":1.5,"sessionId":3000000000}', line)
        self.assertIn('"session":3000000000', line)
        self.assertIn('"session":3000000000', trace.line())
        self.interrupted(trace)

    def test_what_is_no_json_is_shown_as_text(self):
        self.start_simulator()
        trace = self.start_trace()
        raw = self.connect()
        for serial, text in enumerate(("no JSON", "", "3", '{"a":', "tab\there\x1b[31m\u20ac"), 2):
            raw.send(call(serial, "x", text))
            record, reply = self.records_of(trace, 2)
            self.assertEqual((record["text"], "arguments" in record), (text, False))
            self.assertEqual(reply["result"]["errCode"], 2)
        self.interrupted(trace)

    def test_control_characters_do_not_reach_the_terminal(self):
        self.start_simulator()
        trace = self.start_trace("text")
        self.connect().send(call(2, "x\ny", "tab\there\r\n\x1b[31m\x7f\u20ac"))
        self.assertIn(" x\\ny tab\\u0009here\\r\\n\\u001b[31m\\u007f\u20ac  [", trace.line())
        self.interrupted(trace)

    def test_long_text_is_whole_in_json_and_shortened_in_a_line(self):
        self.start_simulator()
        text, trace = self.start_trace("text"), self.start_trace()
        long = "y" * (1 << 20)
        self.connect().send(call(2, "x", f'{{"a":"{long}"}}'))
        self.assertEqual(record_of(trace.line())["arguments"], {"a": long})
        line = text.line()
        self.assertIn('{"a":"' + "y" * 394 + "… (1048584 characters)  [", line)
        self.assertLess(len(line), 600)
        self.interrupted(trace)
        self.interrupted(text)

    def test_long_text_is_shortened_as_it_is(self):
        self.start_simulator()
        trace = self.start_trace("text")
        # The 400th code unit of the latter is half a character.
        for text in ("%2%1" * 101, "x" * 399 + "\U0001d11e" + "xxx"):
            self.connect().send(call(2, "x", text))
            self.assertIn(f" x {text[:400 if text[0] == '%' else 399]}… (404 characters)  [", trace.line())
            trace.line()
        self.interrupted(trace)

    def test_what_does_not_follow_the_interface_is_named(self):
        self.start_simulator()
        trace = self.start_trace()
        raw = self.connect()
        raw.send(call(2, None, None))
        raw.send(call(3, "x", "{}", member="Ask"))
        raw.send(capturefile.message(capturefile.CALL, 4, ("setMode", "{}"), path=HMI_PATH, member="Request",
                                     destination=SERVICE))
        records = [record for record in self.records_of(trace, 6) if record["record"] == "call"]
        self.assertEqual([(record["serial"], record["method"], record.get("fault")) for record in records],
                         [(2, "", 'signature "" instead of "ss"'), (3, "x", 'member "Ask" instead of "Request"'),
                          (4, "setMode", None)])
        self.interrupted(trace)

    def test_call_without_the_service_is_shown_with_its_error(self):
        trace = self.start_trace()
        self.connect().send(call(2, "setMode", '{"sessionId":4}'))
        record, error = self.records_of(trace, 2)
        self.assertEqual((record["destination"], record["session"]), (SERVICE, 4))
        self.assertEqual((error["record"], error["method"], error["session"], error["errorName"], error["sender"]),
                         ("error", "setMode", 4, "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus"))
        self.interrupted(trace)

    def test_reply_that_is_not_expected_is_not_waited_for(self):
        self.start_simulator().signal(signal.SIGSTOP)
        trace = self.start_trace()
        raw = self.connect()
        raw.send(capturefile.message(capturefile.CALL, 2, ("x", "{}"), flags=capturefile.NO_REPLY_EXPECTED,
                                     path=HMI_PATH, interface=INTERFACE, member="Request", destination=SERVICE))
        self.assertEqual(record_of(trace.line())["serial"], 2)
        self.assertEqual(self.interrupted(trace), [])

    def test_unanswered_calls_are_shown_when_their_caller_leaves_and_at_the_end(self):
        self.start_simulator().signal(signal.SIGSTOP)
        trace = self.start_trace()
        stays, leaves = self.connect(), self.connect()
        stays.send(call(2, "getMode", '{"sessionId":1}'))
        record_of(trace.line())
        leaves.send(call(2, "setMode", '{"sessionId":2}'))
        record_of(trace.line())
        leaves.close()
        left = record_of(trace.line())
        self.assertEqual((left["record"], left["state"], left["sender"], left["method"], left["session"]),
                         ("unanswered", "callerLeft", leaves.name, "setMode", 2))
        rest = [record_of(line) for line in self.interrupted(trace)]
        self.assertEqual([(record["record"], record["state"], record["sender"], record["method"]) for record in rest],
                         [("unanswered", "traceEnded", stays.name, "getMode")])

    # How it ends

    def test_signal_ends_it_with_its_number(self):
        self.interrupted(self.start_trace(), signal.SIGINT)
        self.interrupted(self.start_trace(), signal.SIGTERM)

    def test_timeout_ends_it_with_zero(self):
        lines, code, errors = self.run_program("trace", "json", self.address, "100")
        self.assertEqual((len(lines), code, errors), (1, 0, ""))

    def test_no_bus_ends_with_three(self):
        lines, code, errors = self.run_program("trace", "json", f"unix:path={self.directory}/nobody", "0")
        self.assertEqual((lines, code), ([], 3))
        self.assertTrue(errors.startswith(f'kivctl: no monitoring of the bus at "unix:path={self.directory}/nobody": '))

    def test_denied_ends_with_three_and_says_what_is_needed(self):
        address, _ = self.start_bus('<policy context="mandatory"><deny send_destination="org.freedesktop.DBus" '
                                    'send_interface="org.freedesktop.DBus.Monitoring"/></policy>')
        lines, code, errors = self.run_program("trace", "json", address, "0")
        self.assertEqual((lines, code), ([], 3))
        start, end = f'kivctl: the bus at "{address}" does not let this user monitor it (', (
            "); only root and the user of the bus may, and its policy must allow them to send "
            "org.freedesktop.DBus.Monitoring\n")
        self.assertEqual((errors[:len(start)], errors[-len(end):]), (start, end))

    def test_bus_gone_ends_with_three_after_what_was_pending(self):
        address, daemon = self.start_bus()
        self.start_simulator(address).signal(signal.SIGSTOP)
        trace = self.start_trace(address=address)
        raw = RawConnection(address)
        self.addCleanup(raw.close)
        raw.send(call(2, "getMode", "{}"))
        record_of(trace.line())
        daemon.signal(signal.SIGKILL)
        lines, code = trace.end_input()
        self.assertEqual([(record_of(line)["record"], record_of(line)["state"]) for line in lines],
                         [("unanswered", "traceEnded")])
        self.assertEqual((code, trace.errors()), (3, "kivctl: the bus has gone\n"))

    def test_stopped_bus_ends_with_five(self):
        address, daemon = self.start_bus()
        daemon.signal(signal.SIGSTOP)
        lines, code, errors = self.run_program("trace", "json", address, "0")
        daemon.signal(signal.SIGCONT)
        self.assertEqual((lines, code), ([], 5))
        self.assertTrue(errors.endswith(": no answer within the time-out\n"), errors)

    def test_signal_during_the_greeting_ends_it(self):
        address, daemon = self.start_bus()
        daemon.signal(signal.SIGSTOP)
        trace = self.start(*command("trace", "json", address, "0"))
        trace.signal(signal.SIGTERM)
        self.assertIn(trace.end_input()[1], (143, -signal.SIGTERM))  # the latter before it has blocked the signal
        daemon.signal(signal.SIGCONT)

    def test_reader_that_leaves_ends_it_quietly(self):
        self.start_simulator()
        reading, writing = os.pipe()
        with subprocess.Popen(command("trace", "json", self.address, "0"), stdout=writing,
                              stderr=subprocess.PIPE) as trace:
            os.close(writing)
            os.read(reading, 4096)
            os.close(reading)
            self.connect().send(call(2, "x", "{}"))
            self.assertEqual((trace.communicate(timeout=PATIENCE)[1], trace.returncode), (b"", 0))

    def test_full_disk_is_reported(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run(command("trace", "json", self.address, "0"), stdout=full, stderr=subprocess.PIPE,
                                  timeout=PATIENCE, check=False)
        self.assertEqual((done.stderr, done.returncode),
                         (b"kivctl: cannot write to standard output: No space left on device\n", 2))

    def test_flood_is_shown_whole_in_bounded_memory(self):
        count = 100000
        self.environment["ASAN_OPTIONS"] = "quarantine_size_mb=1"  # with a sanitizer, freed memory would count
        trace = self.start_trace("text")
        raw = self.connect()
        peak = self.peak_memory(trace)
        data = capturefile.message(capturefile.SIGNAL, 2, ("flood", '{"text":"' + "z" * 200 + '"}'), path=HMI_PATH,
                                   interface=INTERFACE, member="Notify")
        for _ in range(count // 100):
            raw.send(data * 100)
        self.assertEqual({without_times(line) for line in trace.lines(count)},
                         {f'TIME => hmi  flood {{"text":"{"z" * 200}"}}  [{raw.name}]'})
        self.assertLess(self.peak_memory(trace) - peak, 20000)
        self.assertEqual(self.interrupted(trace), [])

    @staticmethod
    def peak_memory(program):
        with open(f"/proc/{program.pid()}/status", encoding="ascii") as status:
            return int(re.search(r"VmHWM:\s+(\d+) kB", status.read()).group(1))


if __name__ == "__main__":
    unittest.main()
