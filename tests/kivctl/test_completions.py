# SPDX-License-Identifier: MIT
"""The completions, as the shells carry them out."""

import os
import subprocess
import unittest

from kivctltest import KivctlTest, PROGRAM, SOURCE, kivinterop

BASH = os.path.join(SOURCE, "completions", "bash", "kivctl")
ZSH = os.path.join(SOURCE, "completions", "zsh", "_kivctl")
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


class ZshTest(unittest.TestCase):
    def test_file_isReadWithoutComplaint(self):
        result = subprocess.run([kivinterop.require_tool("zsh"), "-n", ZSH], capture_output=True, text=True,
                                timeout=kivinterop.PATIENCE, check=False)
        self.assertEqual((result.returncode, result.stdout + result.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
