# SPDX-License-Identifier: MIT
"""The library's scenarios follow the schema, and what does not is refused with a text that helps."""

import json
import pathlib
import subprocess
import unittest
from tempfile import TemporaryDirectory

from kivinterop import PATIENCE
from kivsimulator import (DATA, EXIT_NO_BUS, EXIT_USAGE, HERE, NO_BUS, PROGRAM, library, run_without_bus,
                          validator)

NAMES = ["answers-errors", "answers-garbage", "appears-late", "calls-back-while-waiting", "crashes-in-call",
         "flood", "never-answers", "not-running", "phone-call-interrupts-music", "restarts", "two-hmis"]


def bad_documents(folder):
    """The files of a folder that are no scenarios, each with what the simulator says of it."""
    paths = sorted(folder.glob("*.json"))
    assert [path.stem for path in paths] == sorted(path.stem for path in folder.glob("*.txt"))
    return [(path, path.with_suffix(".txt").read_text(encoding="utf-8")) for path in paths]


def no_twins(pairs):
    """An object of a JSON text; JSON itself lets a member be there twice."""
    names = [name for name, _ in pairs]
    if len(set(names)) < len(names):
        raise ValueError("a member is there twice")
    return dict(pairs)


def no_constant(text):
    raise ValueError(f"JSON has no {text}")


class ScenarioFiles(unittest.TestCase):

    maxDiff = None

    def test_library_has_its_scenarios(self):
        self.assertEqual(sorted(library()), NAMES)

    def test_library_follows_the_schema(self):
        checker = validator("scenario")
        for name, path in library().items():
            with self.subTest(name):
                document = json.loads(path.read_text(encoding="utf-8"))
                self.assertEqual([error.message for error in checker.iter_errors(document)], [])
                # For editors: found from the scenario's own place.
                self.assertEqual((path.parent / document["$schema"]).resolve(),
                                 (DATA / "schemas/scenario.schema.json").resolve())
                self.assertGreater(len(document["description"]), 100)
                self.assertRegex(document["description"], r"A correct .*\.$")

    def test_library_is_found_by_name(self):
        for name in NAMES:
            with self.subTest(name):
                result = run_without_bus("--scenario", name)
                self.assertEqual(result.returncode, EXIT_NO_BUS, result.stderr)

    def test_unknown_name_is_refused_with_the_names(self):
        result = run_without_bus("--scenario", "nothing")
        self.assertEqual(result.stderr, 'kiv-audio-simulator: no scenario "nothing" in the library; there '
                                        f'are: {", ".join(NAMES)}\n')
        self.assertEqual((result.returncode, result.stdout), (EXIT_USAGE, ""))

    def test_missing_file_is_refused(self):
        for name in ("./nothing", "nothing.json", "/nonexistent/50%2.json"):
            result = run_without_bus("--scenario", name)
            self.assertEqual(result.stderr, f"kiv-audio-simulator: {name}: No such file or directory\n")
            self.assertEqual((result.returncode, result.stdout), (EXIT_USAGE, ""))

    def check_refusal(self, path, expected):
        """The simulator complains with exactly this text."""
        result = subprocess.run([PROGRAM, "--address", NO_BUS, "--scenario", path.name], cwd=path.parent,
                                capture_output=True, text=True, timeout=PATIENCE, check=False)
        self.assertEqual(result.stderr, f"kiv-audio-simulator: {expected}")
        self.assertEqual((result.returncode, result.stdout), (EXIT_USAGE, ""))

    def test_bad_documents_are_refused_by_schema_and_simulator(self):
        checker = validator("scenario")
        for path, expected in bad_documents(HERE / "bad"):
            with self.subTest(path.stem):
                self.check_refusal(path, expected)
                document = json.loads(path.read_text(encoding="utf-8"), object_pairs_hook=no_twins)
                self.assertFalse(checker.is_valid(document))

    def test_what_no_schema_can_tell_is_refused_by_the_simulator(self):
        for path, expected in bad_documents(HERE / "bad/beyond-schema"):
            with self.subTest(path.stem):
                self.check_refusal(path, expected)

    def test_what_no_schema_can_tell_is_no_json_or_listed_here(self):
        checker = validator("scenario")
        for path, _ in bad_documents(HERE / "bad/beyond-schema"):
            with self.subTest(path.stem):
                try:
                    document = json.loads(path.read_bytes(), object_pairs_hook=no_twins,
                                          parse_constant=no_constant)
                except ValueError:
                    continue
                self.assertTrue(checker.is_valid(document))
                self.assertEqual(path.stem, "delay-falls")

    def test_path_with_placeholders_is_named_as_it_is(self):
        folder = pathlib.Path(self.enterContext(TemporaryDirectory(prefix="kiv-simulator-")))
        with_placeholders = folder / "100%1 %2 %3.json"
        with_placeholders.write_text('{\n"delay": -1}', encoding="utf-8")
        self.check_refusal(with_placeholders, '100%1 %2 %3.json:2: "delay": expected a whole number from 0 '
                                              'to 600000, found -1\n')

    def test_option_with_placeholders_is_named_as_it_is(self):
        for option, most in (("--delay", 600000), ("--seed", 4294967295)):
            result = run_without_bus(option, "%1 %2 %3")
            self.assertEqual(result.stderr, f'kiv-audio-simulator: {option} "%1 %2 %3": expected a whole '
                                            f'number from 0 to {most}\n')
            self.assertEqual((result.returncode, result.stdout), (EXIT_USAGE, ""))

    def test_what_is_no_regular_file_is_refused(self):
        for path in ("/dev/zero", "/dev/stdin", "/proc/self/"):
            done = run_without_bus("--scenario", path)
            self.assertEqual((done.returncode, done.stderr),
                             (EXIT_USAGE, f"kiv-audio-simulator: {path}: expected a regular file\n"))


if __name__ == "__main__":
    unittest.main()
