# SPDX-License-Identifier: MIT
"""test_named_tests.py CTEST BUILD PAGE…: each test and test function that the pages name exists."""

import json
import os
import re
import subprocess
import sys
import unittest

CTEST, BUILD, *PAGES = sys.argv[1:]
# `label.program`, then its functions, up to the next program or the end of the cell; "…" stands for the rest of a name.
NAMED = re.compile(r"`((?:bus|faults|fuzz|models|policy|properties|qml|screens|unit)\.[\w-]+)`(?:: ([^|`]*))?")
OPTIONAL = ("models", "qml", "screens")  # the labels of what a build can be without
FUNCTION = re.compile(r"\b[a-z]+(?:[A-Z_]\w*…?|_…)")


def commands():
    """The command of each test of the build."""
    listing = subprocess.run([CTEST, "--test-dir", BUILD, "--show-only=json-v1"], check=True, capture_output=True)
    return {test["name"]: test["command"] for test in json.loads(listing.stdout)["tests"]}


def functions(command):
    """The names of the test functions of a program: a QtTest program, or one that runs a script in Python or QML."""
    scripts = [word for word in command if word.endswith((".py", ".qml"))]
    if scripts:
        with open(scripts[0], encoding="utf-8") as script:
            return set(re.findall(r"(?:def|function) (test_\w+)", script.read()))
    listing = subprocess.run([command[0], "-functions"], check=True, capture_output=True, text=True,
                             env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})  # some would want a screen
    return set(re.findall(r"^(\w+)\(\)$", listing.stdout + listing.stderr, re.MULTILINE))


def named(page):
    """Pairs of a test and the functions of it that a page names."""
    with open(page, encoding="utf-8") as text:
        return [(test, FUNCTION.findall(names)) for test, names in NAMED.findall(text.read())]


class NamedTests(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.commands = commands()

    def missing(self, test, names):
        """What is named and not there."""
        label = test.split(".")[0]
        if label in OPTIONAL and not any(each.startswith(label + ".") for each in self.commands):
            return []
        if test not in self.commands:
            return [test]
        there = functions(self.commands[test]) if names else set()
        return [f"{test}: {name}" for name in names
                if not any(each == name or name.endswith("…") and each.startswith(name[:-1]) for each in there)]

    def test_pages_nameWhatExists(self):
        for page in PAGES:
            pairs = named(page)
            self.assertTrue(pairs, f"no test is named in {page}")
            self.assertEqual([each for test, names in pairs for each in self.missing(test, names)], [], page)

    def test_whatDoesNotExist_isNoticed(self):
        test = "faults.tst_TextCorpus"
        self.assertEqual(self.missing(test, ["codec_…"]), [])
        self.assertEqual(self.missing(test, ["codec_neverHeardOf"]), [f"{test}: codec_neverHeardOf"])
        self.assertEqual(self.missing("faults.tst_NeverHeardOf", []), ["faults.tst_NeverHeardOf"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
