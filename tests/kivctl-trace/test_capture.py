# SPDX-License-Identifier: MIT
"""kivctl trace on capture files: those of busctl, and every kind that busctl does not write or that is broken."""

import os
import signal
import unittest

import capturefile
from capturefile import block, interface, message, packet, pcap, section
from kivinterop import HMI_PATH, INTERFACE, SERVICE, require_tool
from kivtrace import RawConnection, TraceTest, record_of

CALL_FIELDS = {"path": HMI_PATH, "interface": INTERFACE, "member": "Request", "destination": SERVICE, "sender": ":1.7"}
TIME = 1600000000  # 2020-09-13T12:26:40Z


def request(order="<", serial=5, text='{"newMode":"Radio","sessionId":2}'):
    return message(capturefile.CALL, serial, ("setMode", text), order=order, **CALL_FIELDS)


def reply(order="<"):
    return message(capturefile.REPLY, 9, ("{}",), order=order, reply_serial=5, destination=":1.7", sender=":1.2")


LINES = ['12:26:40.000250 <- hmi  setMode {"newMode":"Radio","sessionId":2}  [:1.7]  session 2',
         "12:26:41.000000 -> hmi  setMode = {}  [:1.7]  session 2, 999750 us"]
UNANSWERED = "12:26:40.000250 !! hmi  setMode unanswered: traceEnded  [:1.7]  session 2, 0 us"


class Capture(TraceTest):

    def trace(self, data, form="text"):
        """The lines, the exit code, and the errors without the file's name."""
        path = os.path.join(self.directory, "capture")
        with open(path, "wb") as file:
            file.write(data)
        lines, code, errors = self.run_program("trace", form, "", "0", path)
        prefix = f"kivctl: {path}: "
        for line in errors.splitlines():
            self.assertTrue(line.startswith(prefix), line)
        return lines, code, [line[len(prefix):] for line in errors.splitlines()]

    def capture(self, *options):
        """busctl, which captures from now on, and the path of its file."""
        path = os.path.join(self.directory, "busctl.pcapng")
        busctl = self.start("sh", "-c", 'exec "$@" >"$0"', path, require_tool("busctl"), f"--address={self.address}",
                            *options, "capture")
        probe = RawConnection(self.address)
        self.addCleanup(probe.close)

        def is_capturing():
            probe.send(message(capturefile.SIGNAL, 2, path="/probe", interface="com.example.Probe", member="Probe"))
            with open(path, "rb") as file:
                return b"com.example.Probe" in file.read()

        self.wait_until(lambda: os.path.exists(path) and is_capturing(), "busctl")
        return busctl, path

    def end_capture(self, busctl, path, last):
        """Ends busctl when its file has the bytes @p last."""

        def has_last():
            with open(path, "rb") as file:
                return last in file.read()

        self.wait_until(has_last, "the last message in busctl's file")
        busctl.signal(signal.SIGKILL)
        busctl.end_input()

    # busctl

    def test_capture_of_busctl_shows_what_a_live_trace_shows(self):
        busctl, path = self.capture()
        trace = self.start_trace()
        simulator = self.start_simulator()
        came = trace.line()
        session = self.play_session(trace)
        raw = RawConnection(self.address)
        self.addCleanup(raw.close)
        raw.send(message(capturefile.CALL, 2, ("last", "{}"),
                         **{key: value for key, value in CALL_FIELDS.items() if key != "sender"}))
        live = [record_of(line) for line in [came, *session, *trace.lines(2)]]
        self.end_capture(busctl, path, b'there is no method')
        simulator.signal(signal.SIGTERM)
        lines, code, errors = self.run_program("trace", "json", "", "0", path)
        self.assertEqual((code, errors), (0, ""))
        captured = [record_of(line) for line in lines]
        for record in live + captured:
            record.pop("time")
            record.pop("durationMicroseconds", None)
        captured[8:10] = sorted(captured[8:10], key=lambda record: record["record"] != "signal")
        self.assertEqual(captured, live)

    def test_messages_that_busctl_has_cut_are_shown_as_far_as_they_go(self):
        self.start_simulator()
        busctl, path = self.capture("--size=400")
        raw = RawConnection(self.address)
        self.addCleanup(raw.close)
        fields = {key: value for key, value in CALL_FIELDS.items() if key != "sender"}
        raw.send(message(capturefile.CALL, 2, ("setMode", '{"a":"' + "x" * 1000 + '"}'), **fields))
        raw.send(message(capturefile.CALL, 3, ("m" * 1000, "{}"), **fields))
        raw.send(message(capturefile.CALL, 4, ("last", "{}"), **fields))
        self.end_capture(busctl, path, b'method \\"last\\"')
        lines, code, errors = self.run_program("trace", "json", "", "0", path)
        records = [record_of(line) for line in lines]
        cut, last = [record for record in records if record["record"] == "call"]
        self.assertRegex(cut["text"], '^{"a":"x{100,399}$')
        self.assertEqual((cut["method"], cut["cut"], last["method"], "cut" in last), ("setMode", True, "last", False))
        self.assertEqual(code, 0)
        self.assertRegex(errors, "^kivctl: .*: [0-9]+ messages that were cut when captured are left out; "
                                 "busctl capture --size=BYTES captures more of each\n$")

    # Formats

    def test_every_format_and_byte_order_shows_the_same(self):
        for order in "<>":
            other = ">" if order == "<" else "<"
            micro = [(TIME, 250, request(order)), (TIME + 1, 0, reply(order))]
            nano = [(TIME, 250999, request(other)), (TIME + 1, 0, reply(order))]
            enhanced = packet(TIME * 1000000 + 250, request(order), order)
            answer = packet((TIME + 1) * 1000000, reply(order), order)
            fine = packet(TIME * 10**9 + 250000, request(order), order)
            fine_answer = packet((TIME + 1) * 10**9, reply(order), order)
            start = section(order)
            cases = {
                "pcap": pcap(micro, order=order),
                "pcap with nanoseconds, messages of either byte order": pcap(nano, order=order, magic=0xA1B23C4D),
                "pcapng": start + interface(order) + enhanced + answer,
                "pcapng with nanoseconds": start + interface(order, resolution=9) + fine + fine_answer,
                "pcapng with 2^-20 s": start + interface(order, resolution=0x80 | 20)
                + packet((TIME << 20) + 263, request(order), order) + packet((TIME + 1) << 20, reply(order), order),
                "pcapng with unknown blocks": start + block(0xBAD, b"1234", order) + interface(order) + enhanced
                + block(5, b"", order) + answer,
                "pcapng with another interface": start + interface(order, 1) + interface(order)
                + packet(0, b"ethernet", order, 0) + packet(TIME * 1000000 + 250, request(order), order, 1)
                + packet((TIME + 1) * 1000000, reply(order), order, 1),
                "pcapng of two sections": start + interface(order) + enhanced + section(other) + interface(other)
                + packet((TIME + 1) * 1000000, reply(other), other),
            }
            for name, data in cases.items():
                with self.subTest(name, order=order):
                    self.assertEqual(self.trace(data), (LINES, 0, []))

    def test_json_of_a_capture_has_every_part(self):
        lines, code, errors = self.trace(pcap([(TIME, 250, request()), (TIME + 1, 0, reply())]), "json")
        common = {"method": "setMode", "role": "hmi", "session": 2, "serial": 5, "direction": "toService",
                  "path": HMI_PATH}
        self.assertEqual([record_of(line) for line in lines], [
            {"record": "call", "time": "2020-09-13T12:26:40.000250Z", "sender": ":1.7", "destination": SERVICE,
             "arguments": {"newMode": "Radio", "sessionId": 2}, **common},
            {"record": "reply", "time": "2020-09-13T12:26:41.000000Z", "sender": ":1.2", "destination": ":1.7",
             "senderNames": [SERVICE], "durationMicroseconds": 999750, "result": {}, **common}])
        self.assertEqual((code, errors), (0, []))

    def test_other_messages_with_file_descriptors_are_passed_over(self):
        other = message(capturefile.REPLY, 8, ("x",), reply_serial=1, destination=":1.9", sender=":1.8", unix_fds=2)
        self.assertEqual(self.trace(pcap([(TIME, 0, other), (TIME, 250, request()), (TIME + 1, 0, reply())])),
                         (LINES, 0, []))

    def test_clock_that_goes_back_gives_no_negative_duration(self):
        lines, code, _ = self.trace(pcap([(TIME, 250, request()), (TIME, 0, reply())]))
        self.assertEqual((lines[1], code), ("12:26:40.000000 -> hmi  setMode = {}  [:1.7]  session 2, 0 us", 0))

    def test_empty_capture_shows_nothing(self):
        self.assertEqual(self.trace(pcap([])), ([], 0, []))
        self.assertEqual(self.trace(section() + interface()), ([], 0, []))

    def test_hundred_thousand_unanswered_calls_are_all_shown(self):
        lines, code, errors = self.trace(pcap([(TIME, 0, request(serial=i)) for i in range(1, 100001)]))
        self.assertEqual((len(lines), code, errors), (200000, 0, []))
        self.assertEqual(sum("unanswered: forgotten" in line for line in lines), 90000)
        self.assertEqual(sum("unanswered: traceEnded" in line for line in lines), 10000)

    # What is wrong

    def test_what_is_no_capture_ends_with_two(self):
        for data in (b"", b"abc", b"no capture at all", b"\0" * 100):
            with self.subTest(data):
                self.assertEqual(self.trace(data), ([], 2, ["byte 0: no capture file: neither pcapng nor pcap"]))

    def test_broken_files_end_with_two_after_what_could_be_read(self):
        small = pcap([(TIME, 250, request())])
        large = section() + interface() + packet(TIME * 1000000 + 250, request())
        size, length = len(small), len(request())
        after = len(large)
        shown = [LINES[0], UNANSWERED]
        cases = [
            (small[:20], [], "byte 0: the file ends inside the file header: 24 bytes expected, 20 there"),
            (pcap([], link_type=1), [], "byte 20: a capture of link type 1, not of D-Bus (231)"),
            (small[:-1], [], f"byte 40: the file ends inside a message: {length} bytes expected, {length - 1} there"),
            (small + b"x", shown, f"byte {size}: the file ends inside a message header: 16 bytes expected, 1 there"),
            (small + b"\xff" * 16, shown,
             f"byte {size + 8}: a message of 4294967295 bytes is longer than any can be"),
            (section()[:9], [], "byte 8: the file ends inside a section header: 4 bytes expected, 1 there"),
            (section()[:8] + b"abcd" + section()[12:], [], "byte 8: a section without byte-order magic"),
            (section()[:12] + b"\2" + section()[13:], [], "byte 12: pcapng version 2 is not known"),
            (large + b"x", shown, f"byte {after}: the file ends inside a block header: 8 bytes expected, 1 there"),
            (large + b"\1\0\0\0\x0d\0\0\0", shown, f"byte {after + 4}: a block of 13 bytes cannot be"),
            (large + block(3, b"1234")[:-1] + b"x", shown, f"byte {after + 12}: a block whose two lengths differ"),
            (large + block(3, b"1234")[:-1], shown,
             f"byte {after + 8}: the file ends inside a block: 8 bytes expected, 7 there"),
            (large + block(1, b"1234"), shown, f"byte {after}: an interface description of 4 bytes is too short"),
            (large + block(6, b"1234"), shown, f"byte {after}: a packet block of 4 bytes is too short"),
            (large + packet(0, b"", index=7), shown,
             f"byte {after}: a packet block whose interface or length cannot be"),
        ]
        for data, lines, error in cases:
            with self.subTest(error):
                self.assertEqual(self.trace(data), (lines, 2, [error]))

    def test_message_that_is_none_is_named_and_the_rest_shown(self):
        lines, code, errors = self.trace(pcap([(TIME, 250, request()), (TIME, 300, b"x" * 50),
                                               (TIME + 1, 0, reply())]))
        self.assertEqual((lines, code, len(errors)), (LINES, 2, 1))
        self.assertTrue(errors[0].startswith(f"byte {24 + 16 + len(request()) + 16}: no D-Bus message: "), errors)

    def test_files_that_cannot_be_read_end_with_two(self):
        for path, error in ((self.directory + "/nobody", "No such file or directory"),
                            (self.directory, "is no regular file"), ("/dev/null", "is no regular file")):
            with self.subTest(path):
                done = self.run_program("trace", "json", "", "0", path)
                self.assertEqual(done, ([], 2, f"kivctl: {path}: {error}\n"))

    def test_timeout_bounds_the_reading(self):
        path = os.path.join(self.directory, "capture")
        with open(path, "wb") as file:
            file.write(pcap([(TIME, 0, request(serial=i)) for i in range(1, 100001)]))
        lines, code, errors = self.run_program("trace", "json", "", "1", path)
        self.assertEqual((code, errors), (5, f"kivctl: {path}: not read within the time-out\n"))
        self.assertLess(len(lines), 200000)


if __name__ == "__main__":
    unittest.main()
