# SPDX-License-Identifier: MIT
"""What would be longer than a message of a bus is refused; the bus would end the whole connection."""

import unittest

import dbus
from kivsimulator import SimulatorTest

SERVICE = "com.quorvantel.service.AudioManagement"
HMI_PATH = "/com/kiv/service/AudioManagement/HmiMode"
LONG = "\x01" * (6 * 1024 * 1024)  # each character takes six bytes in JSON
TOO_LONG = "longer than a message can be"


class MessageLimit(SimulatorTest):

    def setUp(self):
        super().setUp()
        self.start()
        self.service = dbus.Interface(self.bus.get_object(SERVICE, HMI_PATH, introspect=False),
                                      "com.quorvantel.ServiceProvider")
        self.assertEqual(self.service.Request("openSession", '{"busName":"","objectPath":"/x"}'), '{"sessionId":1}')

    def check_alive(self):
        self.assertEqual(self.service.Request("getMode", '{"destination":"all","sessionId":1}'),
                         '{"currentMode":["Radio"]}')

    def check_too_long(self, method, arguments):
        with self.assertRaises(dbus.DBusException) as caught:
            self.service.Request(method, arguments)
        self.assertEqual(caught.exception.get_dbus_name(), "org.freedesktop.DBus.Error.LimitsExceeded")
        self.assertEqual(caught.exception.get_dbus_message(), TOO_LONG)
        self.check_alive()

    def test_refusal_that_repeats_a_long_text(self):
        self.check_too_long("setMode", '{"newMode":"' + LONG + '","sessionId":1}')

    def test_list_with_a_long_mode_and_its_event(self):
        self.control().AddMode(LONG, "")
        self.check_too_long("getModeList", '{"destination":"all","sessionId":1}')
        self.assertEqual([line for line in self.log() if '"failed"' in line and TOO_LONG not in line], [])
        self.assertEqual(len([line for line in self.log() if TOO_LONG in line]), 2)  # the event, and the answer

    def test_log_of_a_long_request(self):
        self.service.Request("nothing", '"' * (20 * 1024 * 1024))
        lines = self.log()
        self.assertEqual([line for line in lines if len(line) > 100000], [])
        self.assertEqual(len([line for line in lines if "(20971520 characters)" in line]), 1)
        self.check_alive()

    def log(self):
        lines, number = [], 0
        while True:
            more, number = self.control().ReadLog(number, signature="u")
            if not more:
                return lines
            lines += more


if __name__ == "__main__":
    unittest.main()
