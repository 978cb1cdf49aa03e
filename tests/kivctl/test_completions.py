# SPDX-License-Identifier: MIT
"""The completions, as the shells carry them out."""

import os
import subprocess
import tempfile
import unittest

from kivctltest import KivctlTest, PROGRAM, SOURCE, kivinterop

BASH = os.path.join(SOURCE, "completions", "bash", "kivctl")
ZSH = os.path.join(SOURCE, "completions", "zsh")
CAPTURE = os.path.join(SOURCE, "tests", "kivctl", "complete.zsh")
COMMANDS = ["modes", "mode", "set-mode", "monitor", "stream", "status", "call", "trace", "help"]
EVERYWHERE = ["--address", "--system", "--session", "--timeout", "--json", "--verbose", "--help", "--version"]

COMPLETE = """
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_kivctl
printf '%s\\n' "${COMPREPLY[@]}"
"""


class BashTest(KivctlTest):
    def complete(self, *words):
        """What bash offers for the last of the words that follow the program's name."""
        result = subprocess.run([kivinterop.require_tool("bash"), "-c", COMPLETE, "complete", BASH, PROGRAM, *words],
                                env=self.environment, capture_output=True, text=True, timeout=kivinterop.PATIENCE, check=True)
        self.assertEqual(result.stderr, "")
        return result.stdout.split()

    def test_firstWord_isACommand(self):
        self.assertEqual(self.complete(""), COMMANDS)
        self.assertEqual(self.complete("mo"), ["modes", "mode", "monitor"])
        self.assertEqual(self.complete("--timeout", "5", "s"), ["set-mode", "stream", "status"])
        self.assertEqual(self.complete("--timeout", "=", "5", "s"), ["set-mode", "stream", "status"])

    def test_optionsBeforeACommand_areThoseOfEveryCommand(self):
        self.assertEqual(self.complete("--"), EVERYWHERE)
        self.assertEqual(self.complete("--s"), ["--system", "--session"])

    def test_optionsOfACommand_followIt(self):
        self.assertEqual(self.complete("set-mode", "--"), EVERYWHERE + ["--destination", "--wait"])
        self.assertEqual(self.complete("stream", "--name", "N", "--re"), ["--request"])
        self.assertEqual(self.complete("modes", "--w"), [])

    def test_valueOfAnOption_isNotGuessed(self):
        self.assertEqual(self.complete("stream", "--name", ""), [])
        self.assertEqual(self.complete("--timeout", ""), [])

    def test_argumentOfHelp_isACommand(self):
        self.assertEqual(self.complete("help", "tr"), ["trace"])
        self.assertEqual(self.complete("help", "trace", ""), [])

    def test_argumentOfSetMode_isAModeOfTheRunningService(self):
        self.start_simulator("--modes", "Radio,Rear,Phone")
        self.assertEqual(self.complete("set-mode", ""), ["Radio", "Rear", "Phone"])
        self.assertEqual(self.complete("set-mode", "R"), ["Radio", "Rear"])
        self.assertEqual(self.complete("set-mode", "Radio", ""), [])

    def test_modes_areThoseOfTheBusOnTheLine(self):
        self.start_simulator()
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nonexistent/bus"
        self.assertEqual(self.complete("set-mode", ""), [])
        self.assertEqual(self.complete("--address", self.address, "set-mode", "B"), ["Bluetooth"])
        self.assertEqual(self.complete("--session", "set-mode", "B"), ["Bluetooth"])


class ZshTest(KivctlTest):
    def complete(self, line):
        """What zsh offers for the end of a line."""
        environment = dict(self.environment, PATH=os.path.dirname(PROGRAM) + ":" + os.environ["PATH"])
        with tempfile.TemporaryDirectory(prefix="kiv-zsh-") as scratch:
            result = subprocess.run([kivinterop.require_tool("zsh"), "-f", CAPTURE, ZSH, line, scratch],
                                    env=environment, capture_output=True, text=True,
                                    timeout=kivinterop.PATIENCE, check=True)
        self.assertEqual(result.stderr, "")
        return result.stdout.split()

    def test_firstWord_isACommand(self):
        self.assertEqual(self.complete("kivctl "), COMMANDS)
        self.assertEqual(self.complete("kivctl mo"), ["modes", "mode", "monitor"])
        self.assertEqual(self.complete("kivctl --timeout 5 s"), ["set-mode", "stream", "status"])

    def test_optionsBeforeACommand_areThoseOfEveryCommand(self):
        self.assertCountEqual(self.complete("kivctl --"), EVERYWHERE)

    def test_optionsOfACommand_followIt(self):
        self.assertCountEqual(self.complete("kivctl set-mode --"), EVERYWHERE + ["--destination", "--wait"])
        self.assertEqual(self.complete("kivctl stream --name N --re"), ["--request"])
        self.assertEqual(self.complete("kivctl modes --w"), [])

    def test_argumentOfHelp_isACommand(self):
        self.assertEqual(self.complete("kivctl help tr"), ["trace"])

    def test_argumentOfSetMode_isAModeOfTheRunningService(self):
        self.start_simulator("--modes", "Radio,Rear,Phone")
        self.assertEqual(self.complete("kivctl set-mode R"), ["Radio", "Rear"])

    def test_modes_areThoseOfTheBusOnTheLine(self):
        self.start_simulator()
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nonexistent/bus"
        self.assertEqual(self.complete("kivctl set-mode B"), [])
        self.assertEqual(self.complete(f"kivctl --address {self.address} set-mode B"), ["Bluetooth"])
        self.assertEqual(self.complete("kivctl --session set-mode B"), ["Bluetooth"])


if __name__ == "__main__":
    unittest.main()
