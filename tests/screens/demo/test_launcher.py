# SPDX-License-Identifier: MIT
"""kiv-audio-demo starts its programs, hands options on, and ends with everything that it has started."""

import os
import pathlib
import re
import signal
import subprocess
import unittest

from demostage import CONTROL, DEMO, NAMES, PATIENCE, PROGRAMS, DemoTest, output_of

MANUAL = os.environ["KIV_DEMO_MANUAL"]
CONFIGURED = os.environ["KIV_DEMO_CONFIGURED"]
SCRIPTS = pathlib.Path(DEMO).parents[2] / "scripts"

# In the place of a program: notes its arguments, and that it was asked to end; obeys "NAME.do" as soon as it exists.
STAND_IN = """#!/bin/bash
note={folder}/$(basename "$0")
trap 'echo asked >>"$note.notes"; exit 0' TERM
echo "$*" >>"$note.notes"
until [ -e "$note.do" ]; do sleep 0.02; done
eval "$(cat "$note.do")"
"""


class Launcher(DemoTest):
    """With stand-ins for the three programs, and the real simulator."""

    def setUp(self):
        super().setUp()
        self.environment.update(DISPLAY=":none", KIV_DEMO_PROGRAMS=self.make_folder("programs"))
        self.folder = pathlib.Path(self.environment["KIV_DEMO_PROGRAMS"])
        os.symlink(os.path.join(PROGRAMS, "bin"), self.folder / "bin")
        for name in NAMES:
            self.put_stand_in(self.folder / "examples" / "screens" / name / name)

    def put_stand_in(self, path):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(STAND_IN.format(folder=self.folder), encoding="utf-8")
        path.chmod(0o755)

    def tell(self, name, command):
        """Has a stand-in end as a shell command says."""
        (self.folder / f"{name}.new").write_text(command, encoding="utf-8")
        os.rename(self.folder / f"{name}.new", self.folder / f"{name}.do")

    def notes_of(self, name):
        path = self.folder / f"{name}.notes"
        return path.read_text(encoding="utf-8").splitlines() if path.exists() else []

    def start_and_wait(self, *arguments):
        demo = self.start(*arguments)
        for name in NAMES:
            self.wait_until(lambda name=name: self.notes_of(name), f"{name} to start")
        return demo

    def assert_ends(self, demo, code, *complaints):
        self.assertEqual(demo.result(), (code, "", [f"kiv-audio-demo: {complaint}" for complaint in complaints]))
        self.assert_nothing_is_left()

    def test_controlIsClosed_othersAreAskedToEnd(self):
        demo = self.start_and_wait()
        self.tell(CONTROL, "exit 0")
        self.assert_ends(demo, 0)
        self.assertEqual([self.notes_of(name) for name in NAMES], [["", "asked"], ["", "asked"], [""]])

    def test_othersAreClosed_goesOnUntilControlIs(self):
        demo = self.start_and_wait()
        for name in NAMES[:2]:
            self.tell(name, f"rm {self.folder}/{name}.do")
            self.wait_until(lambda name=name: not (self.folder / f"{name}.do").exists(), f"{name} to end")
        self.assertTrue(demo.is_running())
        self.tell(CONTROL, "exit 0")
        self.assert_ends(demo, 0)
        self.assertEqual([self.notes_of(name) for name in NAMES], [[""], [""], [""]])

    def test_allEndAtOnce_isNoError(self):
        for name in NAMES:
            self.tell(name, "exit 0")
        self.assert_ends(self.start(), 0)

    def test_programFails_isNamed(self):
        demo = self.start_and_wait()
        self.tell("media-player", "exit 3")
        self.assert_ends(demo, 1, "media-player has ended with exit code 3")
        self.assertEqual(self.notes_of("hmi-panel"), ["", "asked"])

    def test_programCrashes_isNamed(self):
        demo = self.start_and_wait()
        self.tell("hmi-panel", "kill -SEGV $$")
        self.assert_ends(demo, 1, "hmi-panel was ended by signal 11 (SEGV)")

    def test_programDoesNotEnd_isKilledAndNamed(self):
        demo = self.start_and_wait()
        self.tell("hmi-panel", "trap '' TERM; touch $note.deaf; while :; do sleep 0.02; done")
        self.wait_until((self.folder / "hmi-panel.deaf").exists, "the stand-in to go deaf")
        self.tell(CONTROL, "exit 0")
        self.assert_ends(demo, 1, "hmi-panel was ended by signal 9 (KILL)")

    def test_SIGTERM_endsAll(self):
        demo = self.start_and_wait()
        demo.signal(signal.SIGTERM)
        self.assert_ends(demo, 0)
        self.assertEqual([self.notes_of(name) for name in NAMES], [["", "asked"]] * 3)

    def test_options_areHandedOn(self):
        demo = self.start_and_wait("--size", "800x480", "--theme", "night", "--language", "de")
        self.tell(CONTROL, "exit 0")
        self.assert_ends(demo, 0)
        options = "--theme night --language de"
        self.assertEqual([self.notes_of(name)[0] for name in NAMES], [f"{options} --size 800x480", options, options])

    def test_badArguments_areErrors(self):
        for arguments, complaint in (
                (["--theme", "dusk"], '--theme: expected day or night, found "dusk"'),
                (["--language", "fr"], '--language: expected en or de, found "fr"'),
                (["--size", "800x"], '--size: expected WIDTHxHEIGHT, found "800x"'),
                (["--size"], "--size: expected a value"),
                (["--colour"], 'unknown argument "--colour"; --help lists the options'),
                (["more"], 'unknown argument "more"; --help lists the options')):
            with self.subTest(arguments):
                self.assert_ends(self.start(*arguments), 2, complaint)
        self.assertEqual(self.notes_of(CONTROL), [])

    def test_noDisplay_isSaid(self):
        del self.environment["DISPLAY"]
        self.assert_ends(self.start(), 1, "there is no display: set DISPLAY or WAYLAND_DISPLAY, or use xvfb-run")

    def test_missingProgram_isNamed(self):
        program = self.folder / "examples" / "screens" / "media-player" / "media-player"
        program.unlink()
        self.assert_ends(self.start(), 1, f"there is no program {program}")

    def test_installed_findsProgramsFromItsOwnPlace(self):
        del self.environment["KIV_DEMO_PROGRAMS"]
        prefix = pathlib.Path(self.make_folder("prefix with blanks"))
        (prefix / "bin").mkdir()
        script = pathlib.Path(CONFIGURED).read_text(encoding="utf-8")
        self.launcher = str(prefix / "bin" / "kiv-audio-demo")
        pathlib.Path(self.launcher).write_text(script, encoding="utf-8")
        os.chmod(self.launcher, 0o755)
        os.symlink(os.path.join(PROGRAMS, "bin", "kiv-audio-simulator"), prefix / "bin" / "kiv-audio-simulator")
        programs = re.search(r"^installed_programs=(\S+)", script, re.MULTILINE)[1]
        for name in NAMES:
            self.put_stand_in(pathlib.Path(os.path.normpath(prefix / "bin" / programs / name)))
        demo = self.start_and_wait()
        self.tell(CONTROL, "exit 0")
        self.assert_ends(demo, 0)


class Words(DemoTest):
    """What is said to those who ask, and to those who ask for something that there is not."""

    def run_script(self, *command):
        done = subprocess.run(command, env=self.environment, capture_output=True, text=True, timeout=PATIENCE, check=False)
        return done.returncode, done.stdout, done.stderr

    def test_help_andManualNameTheSameOptions(self):
        code, printed, errors = self.run_script(DEMO, "--help")
        self.assertEqual((code, errors), (0, ""))
        manual = re.sub(".\b", "", output_of("mandoc", "-T", "ascii", "-O", "width=1000", MANUAL))
        helped = re.findall(r"^  (--\w+)(?: ([A-Z]+))?  ", printed, re.MULTILINE)
        self.assertEqual(re.findall(r"^ {5}(--\w+)(?: ([A-Z]+))?(?:  .*)?$", manual, re.MULTILINE), helped)
        self.assertEqual(len(helped), 4)

    def test_manual_isClean(self):
        foreign = re.compile(r"referenced manual not found|outdated mandoc\.db|lacks .* entry")
        done = self.run_script("mandoc", "-T", "lint", "-W", "style", MANUAL)
        self.assertEqual([line for line in (done[1] + done[2]).splitlines() if not foreign.search(line)], [])

    def test_scriptWithoutDisplay_saysWhatToDo(self):
        self.assertEqual(self.run_script(SCRIPTS / "demo", "--gui"), (1, "", "demo: there is no display: set DISPLAY or "
                         "WAYLAND_DISPLAY, or install xvfb and try xvfb-run scripts/demo --gui\n"))

    def test_scriptWithUnknownArgument_isAnError(self):
        self.assertEqual(self.run_script(SCRIPTS / "demo", "--gut"),
                         (1, "", "demo: expected no argument, or --gui and options of kiv-audio-demo\n"))


if __name__ == "__main__":
    unittest.main()
