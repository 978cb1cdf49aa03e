# SPDX-License-Identifier: MIT
"""What docs/simulator.md says about the control interface is true: its table, its errors and its examples."""

import json
import re
import subprocess
import unittest
import xml.etree.ElementTree

from kivinterop import HMI_PATH, INTERFACE, PATIENCE, SERVICE, require_tool
from kivsimulator import HERE, SimulatorTest

ROOT = HERE.parents[1]
DOCUMENT = (ROOT / "docs/simulator.md").read_text(encoding="utf-8")
SECTION = re.search(r"^## Control interface\n(.*?)^## ", DOCUMENT, re.MULTILINE | re.DOTALL)[1]
INTROSPECTION = (ROOT / "dbus/com.kiv.AudioSimulator.Control.xml").read_text(encoding="utf-8")


def rows(title):
    """The cells of the rows of a table of the section, whose head begins with a title."""
    table = re.search(rf"^\| {title} \|.*\n\|[-|]+\|\n((?:\|.*\n)+)", SECTION, re.MULTILINE)[1]
    return [[cell.strip() for cell in row.strip("|").split(" | ")] for row in table.splitlines()]


def names(text):
    return re.findall(r"`([^`]+)`", text)


def examples():
    """The command lines, each by its program."""
    blocks = re.findall(r"(?:^    .*\n)+", SECTION, re.MULTILINE)
    commands = [re.sub(r"\\\n\s*", "", block).strip() for block in blocks]
    return {command.split()[0]: command for command in commands}


class Tables(unittest.TestCase):

    maxDiff = None

    def test_methods(self):
        listed = sorted(name for cells in rows("Method") for name in names(cells[0]))
        interface = xml.etree.ElementTree.fromstring(INTROSPECTION)[0]
        self.assertEqual(interface.get("name"), "com.kiv.AudioSimulator.Control")
        self.assertEqual(listed, sorted(method.get("name") for method in interface.iter("method")))

    def test_errors(self):
        listed = [name for cells in rows("Error") for name in names(cells[0])]
        self.assertEqual(sorted(listed), sorted(set(re.findall(r"[a-zA-Z.]+\.Error\.[A-Za-z]+", INTROSPECTION))))


class Examples(SimulatorTest):

    def setUp(self):
        super().setUp()
        self.start()

    def run_example(self, program):
        require_tool(program)
        done = subprocess.run(["/bin/sh", "-c", examples()[program]], env=self.environment, text=True,
                              capture_output=True, timeout=PATIENCE, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def request(self, method, **arguments):
        hmi = self.bus.get_object(SERVICE, HMI_PATH, introspect=False)
        return json.loads(hmi.Request(method, json.dumps(arguments), dbus_interface=INTERFACE))

    def test_each_is_tested(self):
        self.assertEqual(sorted(examples()), ["busctl", "dbus-send", "gdbus"])

    def test_busctl_arms_a_fault(self):
        session = self.request("openSession", busName="", objectPath="/a")["sessionId"]
        self.assertEqual(self.run_example("busctl"), "u 1\n")
        self.assertEqual(self.request("setMode", newMode="Radio", sessionId=session)["errCode"], 99)
        self.assertEqual(self.request("setMode", newMode="Radio", sessionId=session), {})

    def test_gdbus_presses_a_mode(self):
        session = self.request("openSession", busName="", objectPath="/a")["sessionId"]
        self.assertEqual(self.run_example("gdbus"), "()\n")
        self.assertEqual(self.request("getMode", destination="all", sessionId=session),
                         {"currentMode": ["Bluetooth"]})

    def test_dbus_send_waits_for_a_call(self):
        self.request("setMode", newMode="Radio", sessionId=1)
        self.assertRegex(self.run_example("dbus-send"), r"\Amethod return .*\n   uint32 1\n\Z")


if __name__ == "__main__":
    unittest.main()
