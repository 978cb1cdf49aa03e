# SPDX-License-Identifier: MIT
"""test_manuals.py PREFIX MANDIR LIBDIR GUIDES: the installed manual pages are clean, and say what the programs say."""

import glob
import os
import re
import subprocess
import sys
import unittest

PREFIX, MANDIR, LIBDIR, GUIDES = sys.argv[1:5]
SIMULATOR_PAGE = os.path.join(PREFIX, MANDIR, "man1", "kiv-audio-simulator.1")
LIBRARY_PAGE = os.path.join(PREFIX, MANDIR, "man7", "kiv-qtdbus-lib.7")
# What mandoc says of pages that are not in the index of this machine is no fault of the page.
FOREIGN = re.compile(r"referenced manual not found|outdated mandoc\.db|lacks .* entry")


def text_of(page):
    """The page as plain text, one paragraph per line."""
    output = subprocess.run(["mandoc", "-T", "ascii", "-O", "width=1000", page], check=True, capture_output=True)
    return re.sub(".\b", "", output.stdout.decode())


def section_of(page, name):
    """The lines of a section."""
    lines = text_of(page).splitlines()
    first = lines.index(name) + 1
    length = next(i for i, line in enumerate(lines[first:]) if re.match(r"[A-Za-z]", line))
    return lines[first:first + length]


class Manuals(unittest.TestCase):

    def run_simulator(self, *arguments):
        environment = {**os.environ, "LD_LIBRARY_PATH": os.path.join(PREFIX, LIBDIR)}
        return subprocess.run([os.path.join(PREFIX, "bin", "kiv-audio-simulator"), *arguments], env=environment,
                              check=True, capture_output=True, text=True).stdout

    def test_pages_areClean(self):
        for page in (SIMULATOR_PAGE, LIBRARY_PAGE):
            output = subprocess.run(["mandoc", "-T", "lint", "-W", "style", page], check=False, capture_output=True,
                                    text=True)
            complaints = [line for line in (output.stdout + output.stderr).splitlines() if not FOREIGN.search(line)]
            self.assertEqual(complaints, [])

    def test_simulator_optionsAreThoseOfTheHelp(self):
        helped = re.findall(r"^  (-[\w-]+(?:, --[\w-]+)?)(?: <(\S+)>)?", self.run_simulator("--help"), re.MULTILINE)
        documented = re.findall(r"^ {5}(-[\w-]+(?:, --[\w-]+)?)(?: (\S+).*)?$",
                                "\n".join(section_of(SIMULATOR_PAGE, "DESCRIPTION")), re.MULTILINE)
        # The help cannot show the value of --exec, which is a whole command.
        documented = [(name, "" if name == "--exec" else value) for name, value in documented]
        self.assertEqual(documented, helped)

    def test_simulator_exitCodesAreThoseOfTheHelp(self):
        paragraph = re.search(r"Exit codes: .*?\n\n", self.run_simulator("--help"), re.DOTALL)[0]
        helped = set(re.findall(r"(?<!\w)(\d+)(?: \+ n)?[ :]", paragraph))
        documented = set(re.findall(r"^ {5}(\d+)\b", "\n".join(section_of(SIMULATOR_PAGE, "EXIT STATUS")), re.MULTILINE))
        self.assertEqual(documented, helped)

    def test_filesOfThePages_areInstalled(self):
        for page in (SIMULATOR_PAGE, LIBRARY_PAGE):
            files = re.findall(r"^ {5}(\w+/\S+)$", "\n".join(section_of(page, "FILES")), re.MULTILINE)
            self.assertGreater(len(files), 3)
            self.assertEqual([file for file in files if not glob.glob(os.path.join(PREFIX, file))], [])

    def test_libraryPage_namesEveryGuide(self):
        guides = sorted(os.path.basename(guide) for guide in glob.glob(os.path.join(GUIDES, "*.md")))
        self.assertEqual(sorted(re.findall(r"guides/(\S+)", text_of(LIBRARY_PAGE))), guides)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
