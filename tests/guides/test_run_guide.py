# SPDX-License-Identifier: MIT
"""run-guide notices what is wrong with a guide."""

import os
import subprocess
import tempfile
import unittest

RUN_GUIDE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "run-guide")


def session(*lines):
    return "\n".join(["```console", *lines, "```", ""])


class RunGuide(unittest.TestCase):

    def follow(self, *parts, after=None):
        """The exit code, and what was complained about without the guide's name."""
        with tempfile.TemporaryDirectory() as folder:
            guide = os.path.join(folder, "guide.md")
            options = []
            for path, text in ((guide, "".join(parts)), (os.path.join(folder, "after.md"), after)):
                if text is not None:
                    with open(path, "w", encoding="utf-8") as file:
                        file.write(text)
            if after is not None:
                options = ["--after", os.path.join(folder, "after.md")]
            result = subprocess.run([RUN_GUIDE, *options, folder, "lib", guide], check=False, capture_output=True,
                                    text=True)
            return result.returncode, result.stderr.replace(guide + ": ", "")

    def test_sessionAsShown_passes(self):
        self.assertEqual(self.follow("# Title\n\n", session("$ echo one; echo two >&2", "one", "two",
                                                            "$ cd /; A=1", "$ echo $PWD $A", "/ 1",
                                                            "$ echo a \\", "b", "a b")), (0, ""))

    def test_variableOutput_isMatchedByDots(self):
        self.assertEqual(self.follow(session("$ seq 9", "1", "…", "8", "9", "$ echo a 17 b", "a … b",
                                             "$ true", "…")), (0, ""))

    def test_otherOutput_fails(self):
        self.assertEqual(self.follow(session("$ echo one", "two")),
                         (1, "line 2: $ echo one\nexit code 0\n--- expected\ntwo\n--- actual\none\n"))

    def test_moreOrLessOutput_fails(self):
        for lines in (["$ echo one"], ["$ true", "one"], ["$ seq 3", "1", "3"], ["$ echo 'a b'", "a"],
                      ["$ echo axb", "a.b"], ["$ seq 3", "…", "4"]):
            self.assertEqual(self.follow(session(*lines))[0], 1, lines)

    def test_failingCommand_fails(self):
        self.assertEqual(self.follow(session("$ false")),
                         (1, "line 2: $ false\nexit code 1\n--- expected\n--- actual\n"))

    def test_failingCommandThatIsShown_passes(self):
        self.assertEqual(self.follow(session('$ false || echo "exit code $?"', "exit code 1")), (0, ""))

    def test_endedShell_fails(self):
        self.assertEqual(self.follow(session("$ exit 0")), (1, "$ exit 0\nhas ended the shell\n"))

    def test_files_areWrittenAndReplaced(self):
        self.assertEqual(self.follow("```sh file=sub/say\n#!/bin/sh\necho first\n```\n", session("$ sub/say", "first"),
                                     "```sh file=sub/say\n#!/bin/sh\necho second\n```\n",
                                     session("$ sub/say", "second")), (0, ""))

    def test_filesOfTheGuideBefore_areThere_butItsCommandsAreNotRun(self):
        self.assertEqual(self.follow(session("$ cat a", "1", "$ ls", "a"),
                                     after="```text file=a\n1\n```\n" + session("$ touch b")), (0, ""))

    def test_blockWithoutConvention_isRefused(self):
        for info in ("", "cpp", "sh", "text", "console run", "cpp file=", "cpp file=../a", "cpp file=/a"):
            self.assertEqual(self.follow(session("$ true"), f"```{info}\nx\n```\n"),
                             (2, f'line 4: "{info}": expected "console" or "LANGUAGE file=NAME"\n'))

    def test_snippetOutsideOfBlocks_isRefused(self):
        for line in ("    g++ a.cpp", "\tg++ a.cpp", "~~~", "<pre>"):
            self.assertEqual(self.follow(session("$ true"), line + "\n"),
                             (2, "line 4: a snippet outside of a ``` block would not be tested\n"))

    def test_guideThatCannotBeRead_isRefused(self):
        self.assertEqual(self.follow("text\n"), (2, "it has no command\n"))
        self.assertEqual(self.follow("```console\n$ true\n"), (2, "line 1: the block has no end\n"))
        self.assertEqual(self.follow(session("true")), (2, 'line 2: expected a command after "$ "\n'))

    def test_linkToNothing_fails(self):
        self.assertEqual(self.follow("[here](guide.md) [web](https://example.org)\n", session("$ true")), (0, ""))
        self.assertEqual(self.follow("[there](gone.md#part)\n", session("$ true")),
                         (1, "there is no gone.md, to which a link leads\n"))

    def test_packageThatIsNotInstalled_fails(self):
        self.assertEqual(self.follow(session("$ sudo apt-get install bash", "…"))[0], 0)
        self.assertEqual(self.follow(session("$ sudo apt-get install no-such-package", "…"))[0], 1)
        self.assertEqual(self.follow(session("$ sudo rm -rf /nonexistent", "…"))[0], 1)


if __name__ == "__main__":
    unittest.main()
