# SPDX-License-Identifier: MIT
"""kivctl status against a bus and a service in every state."""

import os
import signal
import unittest

from kivinterop import APP_PATH, HMI_PATH, SERVICE
from kivtrace import BlindService, TraceTest, command, record_of

HMI = {"record": "object", "role": "hmi", "path": HMI_PATH, "answering": True, "foundBy": "introspection"}
APP = {"record": "object", "role": "app", "path": APP_PATH, "answering": True, "foundBy": "introspection"}
SILENT_HMI = {"record": "object", "role": "hmi", "path": HMI_PATH, "answering": False}
SILENT_APP = {"record": "object", "role": "app", "path": APP_PATH, "answering": False}


class Status(TraceTest):

    def status(self, timeout=20000, address=None):
        lines, code, errors = self.run_program("status", "json", address or self.address, str(timeout))
        return [record_of(line) for line in lines], code, errors

    def service_record(self, process):
        return {"record": "service", "name": SERVICE, "present": True, "activatable": False, "pid": process.pid(),
                "uid": os.getuid(), "owner": str(self.bus.get_name_owner(SERVICE)),
                "process": os.path.basename(process._process.args[0])[:15]}

    def bus_record(self):
        bus_id = str(self.bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus").GetId())
        return {"record": "bus", "address": self.address, "reachable": True, "id": bus_id}

    def test_service_there_everything_is_reported(self):
        simulator = self.start_simulator()
        records, code, errors = self.status()
        round_trip = records.pop()
        self.assertEqual((records, code, errors),
                         ([self.bus_record(), self.service_record(simulator), HMI, APP], 0, ""))
        self.assertEqual((round_trip["record"], round_trip["count"]), ("roundTrip", 10))
        self.assertLessEqual(round_trip["minMicroseconds"], round_trip["medianMicroseconds"])
        self.assertLessEqual(round_trip["medianMicroseconds"], round_trip["maxMicroseconds"])

    def test_text_is_one_line_per_finding(self):
        self.start_simulator()
        lines, code, errors = self.run_program("status", "text", self.address, "20000")
        self.assertEqual([line.split(" ")[0:3] for line in lines],
                         [["bus:", "reachable", "at"], ["service:", "present,", "owner"],
                          ["object", "hmi:", "answering"], ["object", "app:", "answering"],
                          ["round", "trip:", "median"]])
        self.assertEqual((code, errors), (0, ""))

    def test_asking_changes_nothing_at_the_service(self):
        simulator = self.start_simulator(None, "--log", "text")
        self.assertEqual(self.status()[1], 0)
        simulator.signal(signal.SIGTERM)
        self.assertEqual(simulator.end_input(), ([], 0))

    def test_service_absent_ends_with_four(self):
        records, code, errors = self.status()
        self.assertEqual(records, [self.bus_record(), {"record": "service", "name": SERVICE, "present": False,
                                                       "activatable": False}])
        self.assertEqual((code, errors), (4, f"kivctl: nobody has the name {SERVICE}\n"))

    def test_activatable_service_is_told_and_not_started(self):
        started = os.path.join(self.directory, "started")
        with open(os.path.join(self.directory, "audio.service"), "w", encoding="utf-8") as file:
            file.write(f"[D-BUS Service]\nName={SERVICE}\nExec=/usr/bin/touch {started}\n")
        address, _ = self.start_bus(service_directory=f"<servicedir>{self.directory}</servicedir>")
        records, code, _ = self.status(address=address)
        self.assertEqual((records[1]["present"], records[1]["activatable"], code), (False, True, 4))
        self.assertFalse(os.path.exists(started))

    def test_no_bus_ends_with_three(self):
        address = f"unix:path={self.directory}/nobody"
        records, code, errors = self.status(address=address)
        self.assertEqual(records, [{"record": "bus", "address": address, "reachable": False}])
        self.assertEqual(code, 3)
        self.assertTrue(errors.startswith(f'kivctl: no bus at "{address}": '), errors)

    def test_malformed_address_ends_with_three(self):
        self.assertEqual(self.status(address="nonsense")[1], 3)

    def test_address_from_environment_when_none_is_given(self):
        lines, code, _ = self.run_program("status", "json", "", "20000")
        self.assertEqual((record_of(lines[0]), code), (self.bus_record(), 4))

    def test_stopped_service_ends_with_five_and_names_the_questions(self):
        simulator = self.start_simulator()
        simulator.signal(signal.SIGSTOP)
        records, code, errors = self.status(timeout=300)
        self.assertEqual((records, code),
                         ([self.bus_record(), self.service_record(simulator), SILENT_HMI, SILENT_APP], 5))
        self.assertEqual(errors, f"kivctl: object {HMI_PATH}: no answer within the time-out\n"
                                 f"kivctl: object {APP_PATH}: no answer within the time-out\n")
        simulator.signal(signal.SIGCONT)

    def test_stopped_bus_ends_with_five(self):
        address, daemon = self.start_bus()
        daemon.signal(signal.SIGSTOP)
        records, code, errors = self.status(timeout=300, address=address)
        daemon.signal(signal.SIGCONT)
        self.assertEqual((records, code), ([{"record": "bus", "address": address, "reachable": False}], 5))
        self.assertEqual(errors, f'kivctl: no bus at "{address}": no answer within the time-out\n')

    def test_signal_while_waiting_ends_at_once(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            with self.subTest(number):
                simulator = self.start_simulator()
                simulator.signal(signal.SIGSTOP)
                status = self.start(*command("status", "text", self.address, "3000000"))
                status.lines(2)
                status.signal(number)
                self.assertEqual(status.end_input()[1], code)
                self.assertEqual(status.errors(), "")
                simulator.signal(signal.SIGKILL)
                self.wait_until(lambda: not self.bus.name_has_owner(SERVICE), "the end of the simulator")

    def test_bus_gone_while_waiting_ends_with_three(self):
        address, daemon = self.start_bus()
        self.start_simulator(address).signal(signal.SIGSTOP)
        status = self.start(*command("status", "text", address, "3000000"))
        status.lines(2)
        daemon.signal(signal.SIGKILL)
        self.assertEqual(status.end_input()[1], 3)
        self.assertIn("the bus has ended the connection", status.errors())

    def test_object_without_the_interface_ends_with_six(self):
        self.start_service({}, HMI_PATH) # the mock has this object only
        records, code, errors = self.status()
        self.assertEqual((records[2:4], code), ([HMI, SILENT_APP], 6))
        self.assertEqual(records[4]["record"], "roundTrip")
        self.assertTrue(errors.startswith(f"kivctl: object {APP_PATH}: org.freedesktop.DBus.Error."), errors)

    def test_object_that_tells_nothing_about_itself_is_asked_for_something_harmless(self):
        service = BlindService(self.address)
        self.addCleanup(service.close)
        records, code, errors = self.status()
        self.assertEqual((records[2:4], code, errors),
                         ([dict(HMI, foundBy="request"), dict(APP, foundBy="request")], 0, ""))
        self.assertEqual(service.requests(), [(HMI_PATH, "kivctlStatus", "{}"), (APP_PATH, "kivctlStatus", "{}")])

    def test_answer_that_is_no_text_ends_with_six(self):
        service = BlindService(self.address, answers_text=False)
        self.addCleanup(service.close)
        records, code, errors = self.status()
        self.assertEqual((records[2:4], code), ([SILENT_HMI, SILENT_APP], 6))
        self.assertEqual(errors, f"kivctl: object {HMI_PATH}: the answer of Request is no text\n"
                                 f"kivctl: object {APP_PATH}: the answer of Request is no text\n")


if __name__ == "__main__":
    unittest.main()
