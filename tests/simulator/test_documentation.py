# SPDX-License-Identifier: MIT
"""The examples and tables of docs/scenarios.md are true."""

import json
import pathlib
import re
import tempfile
import unittest

from kivsimulator import EXIT_NO_BUS, EXIT_USAGE, HERE, library, run_without_bus, schema, validator

DOCUMENT = (HERE.parents[1] / "docs/scenarios.md").read_text(encoding="utf-8")
SCHEMA = schema("scenario")


def rows(heading, title):
    """The cells of a table's rows: the table whose head begins with a title, in the section of a heading."""
    section = re.search(rf"^## {heading}\n(.*?)(?=^## |\Z)", DOCUMENT, re.MULTILINE | re.DOTALL)[1]
    table = re.search(rf"^\| {title} \|.*\n\|[-|]+\|\n((?:\|.*\n)+)", section, re.MULTILINE)[1]
    return [[cell.strip() for cell in row.strip("|").split(" | ")] for row in table.splitlines()]


def names(cell):
    return re.findall(r"`([^`]+)`", cell)


class Documentation(unittest.TestCase):

    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="kiv-simulator-")))

    def check(self, scenario):
        """A scenario follows the schema, and the simulator takes it."""
        self.assertEqual([error.message for error in validator("scenario").iter_errors(scenario)], [])
        path = self.folder / "example.json"
        path.write_text(json.dumps(scenario), encoding="utf-8")
        result = run_without_bus("--scenario", str(path))
        self.assertEqual(result.returncode, EXIT_NO_BUS, result.stderr)

    def test_every_example_is_tested(self):
        self.assertEqual(len(re.findall(r"```json\n", DOCUMENT)), 1)
        in_tables = len(rows("Faults", "Kind")) + len(rows("Steps", "Action"))
        self.assertEqual(len(re.findall(r"`\{.*?\}`", DOCUMENT)), in_tables)

    def test_whole_file(self):
        self.check(json.loads(re.search(r"```json\n(.*?)```", DOCUMENT, re.DOTALL)[1]))

    def test_faults(self):
        kinds = []
        for kind, _, example in rows("Faults", "Kind"):
            fault = json.loads(example.strip("`"))
            with self.subTest(fault):
                self.assertEqual(names(kind), [fault["kind"]])
                self.check({"faults": [fault]})
            kinds += names(kind)
        self.assertEqual(sorted(kinds), SCHEMA["$defs"]["fault"]["properties"]["kind"]["enum"])

    def test_steps(self):
        actions = []
        for action, _, example in rows("Steps", "Action"):
            step = json.loads(example.strip("`"))
            with self.subTest(step):
                self.assertEqual(names(action), [step["do"]])
                self.check({"steps": [step]})
            actions += names(action)
        self.assertEqual(sorted(actions), SCHEMA["$defs"]["step"]["properties"]["do"]["enum"])

    def test_members_and_their_defaults(self):
        listed = [name for cells in rows("A file of your own", "Member") for name in names(cells[0])]
        self.assertEqual(sorted(listed), sorted(SCHEMA["properties"]))
        common = [name for cells in rows("Faults", "Member") for name in names(cells[0])]
        self.assertEqual(sorted(["kind", *common]), sorted(SCHEMA["$defs"]["fault"]["properties"]))
        for name, _, default in rows("Faults", "Member"):
            if default.isdigit():
                self.assertEqual(SCHEMA["$defs"]["fault"]["properties"][names(name)[0]]["default"],
                                 int(default))

    def test_library(self):
        listed = [name for cells in rows("The library", "Name") for name in names(cells[0])]
        self.assertEqual(sorted(listed), sorted(library()))

    def test_complaint(self):
        path = self.folder / "mine.json"
        path.write_text('{\n"faults": [\n{ "kind": "crash",\n"times": 0 }]}', encoding="utf-8")
        result = run_without_bus("--scenario", str(path))
        self.assertEqual(result.returncode, EXIT_USAGE)
        self.assertIn("    " + result.stderr.replace(str(self.folder), "."), DOCUMENT)


if __name__ == "__main__":
    unittest.main()
