# SPDX-License-Identifier: MIT
"""docs/protocol.md and the schema of the protocol say the same."""

import json
import re
import shutil
import subprocess
import tempfile
import unittest

from kivprotocol import BROADCAST, CALLS, DEFINITIONS, REQUESTS, ROOT, VALIDATORS, is_required, members

GENERATOR = ROOT / "scripts/protocol-page"
PAGE = (ROOT / "docs/protocol.md").read_text(encoding="utf-8")
SECTIONS = dict(re.findall(r"^### `(\w+)`\n(.*?)(?=^##|\Z)", PAGE, re.MULTILINE | re.DOTALL))
TABLES = {"Argument": "{}.arguments", "Result": "{}.result", "Payload": "{}.payload"}


def run(*arguments):
    return subprocess.run([GENERATOR, *arguments], capture_output=True, text=True, check=False)


def definition(message, part):
    return "error" if message == "error" else TABLES[part].format(message)


def tables(section):
    """The rows of each table, by the first word of its head."""
    for head, body in re.findall(r"^\| (\w+) \| Value .*\n\|[-|]+\|\n((?:\|.*\n)+)", section, re.MULTILINE):
        yield head, [[cell.strip() for cell in row.strip("|").split(" | ")] for row in body.splitlines()]


def examples(message, section):
    """The examples of a section: the definition, and what follows it."""
    block, = re.findall(r"```\n(.*?)```\n", section, re.DOTALL)
    for line in block.splitlines():
        name, text = re.fullmatch(r"\s*(\w+|→) (.*)", line).groups()
        if name != "→":
            assert name == message, f"an example of {name} in the section of {message}"
        part = "Result" if name == "→" else "Payload" if message == BROADCAST else "Argument"
        yield definition(message, part), json.loads(text)


class Page(unittest.TestCase):

    maxDiff = None

    def test_tables_and_examples_are_those_of_the_schema(self):
        check = run("--check")
        self.assertEqual((check.stderr, check.returncode), ("", 0), "run scripts/protocol-page")

    def test_each_message_has_one_section_and_nothing_else_has(self):
        headings = re.findall(r"^### (.*)$", PAGE, re.MULTILINE)
        self.assertEqual(headings, [f"`{name}`" for name in (*REQUESTS, *CALLS, BROADCAST, "error")])

    def test_rows_are_the_keys_with_what_is_required(self):
        seen = []
        for message, section in SECTIONS.items():
            for head, rows in tables(section):
                name = definition(message, head)
                seen.append(name)
                words = {True: "yes", False: "no"}
                expected = [["any", "one or more"] if key == "*" else [f"`{key}`", words[is_required(name, key)]]
                            for key in members(name)]
                self.assertEqual([[key, required] for key, _, required, _ in rows], expected, name)
        self.assertEqual(sorted(seen), sorted(name for name, known in DEFINITIONS.items()
                                              if "examples" in known and members(name)))

    def test_types_are_those_of_the_schema(self):
        words = {"string": "text", "integer": "number", "boolean": "`true` or `false`"}
        for message, section in SECTIONS.items():
            for head, rows in tables(section):
                for (key, value, *_), member in zip(rows, members(definition(message, head)).values()):
                    said = member.get("title") or words.get(member.get("type"))
                    values = re.findall(r"`(\w+)`", value)
                    with self.subTest(message=message, key=key):
                        self.assertTrue(value.startswith(said) if said else values == member["enum"], value)

    def test_every_example_follows_its_schema_and_every_schema_has_its_examples(self):
        seen = {}
        for message, section in SECTIONS.items():
            for name, content in examples(message, section):
                VALIDATORS[name].validate(content)
                seen.setdefault(name, []).append(content)
        self.assertEqual(seen, {name: known["examples"] for name, known in DEFINITIONS.items() if "examples" in known})

    def test_no_example_stands_outside_the_sections(self):
        blocks = re.findall(r"^```(\w*)$\n.*?^```$", PAGE, re.MULTILINE | re.DOTALL)
        self.assertEqual(blocks, [""] * len(SECTIONS) + ["sh"])

    def test_every_section_tells_what_becomes_of_failures(self):
        for message, section in SECTIONS.items():
            behind = section.rpartition("```\n")[2].strip()
            self.assertRegex(behind, r"(?i)\b(fails|failure|ignored|empty one|likewise)\b", message)

    def test_other_keys_and_types_in_the_page_are_found(self):
        changes = {"| `busName` | text, not empty |": "| `busName` | text |",
                   "| `playing` |": "| `isPlaying` |",
                   "| no | The destination": "| yes | The destination",
                   '"newMode":"Bluetooth"': '"newMode":5'}
        for before, after in changes.items():
            with self.subTest(after), tempfile.NamedTemporaryFile("w", suffix=".md") as page:
                self.assertEqual(PAGE.count(before), 1)
                page.write(PAGE.replace(before, after))
                page.flush()
                check = run("--check", "--page", page.name)
                self.assertEqual(check.returncode, 1)
                self.assertIn(after, check.stderr)

    def test_page_without_a_section_is_refused(self):
        with tempfile.NamedTemporaryFile("w", suffix=".md") as page:
            page.write(PAGE.replace("### `setMode`", "### `setTheMode`"))
            page.flush()
            check = run("--check", "--page", page.name)
            self.assertEqual((check.stderr, check.returncode), (
                'protocol-page: expected one section "### `setMode`" with a code block, found 0\n', 1))

    def test_what_was_changed_in_generated_parts_is_written_anew(self):
        with tempfile.TemporaryDirectory() as folder:
            page = shutil.copy(ROOT / "docs/protocol.md", folder)
            with open(page, "w", encoding="utf-8") as file:
                file.write(PAGE.replace("| `playing` |", "| `isPlaying` |"))
            self.assertEqual(run("--page", page).returncode, 0)
            with open(page, encoding="utf-8") as file:
                self.assertEqual(file.read(), PAGE)


if __name__ == "__main__":
    unittest.main()
