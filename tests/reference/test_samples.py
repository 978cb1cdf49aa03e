# SPDX-License-Identifier: MIT
"""test_samples.py COMPILER OPTION…: the samples in the public headers compile, each as the body of a function.

The public headers are those in the folders that the options name with -I.
"""

import glob
import os
import re
import subprocess
import sys
import tempfile
import unittest

FOLDERS = [option[len("-I"):] for option in sys.argv[2:] if option.startswith("-I")]
COMPILE = [*sys.argv[1:], "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused-variable",
           "-Wno-unused-but-set-variable", "-x", "c++", "-"]
SAMPLE = re.compile(r"^ *\* @code\n(.*?)^ *\* @endcode$", re.MULTILINE | re.DOTALL)
BEGIN = """#include <QtCore>
#include <QtDBus>
{includes}
namespace Audio::Utils::Kiv::Models {{}} // also where they are not built
using namespace Audio::Utils::Kiv::Models;
using namespace Audio::Utils::Kiv::QtDbus;
using namespace Audio::Utils::Kiv::QtDbus::Testing;
"""


def public_headers():
    """All of them."""
    return sorted(path for folder in FOLDERS for path in glob.glob(os.path.join(folder, "*.h")))


def samples_of(path):
    """The samples of a header: number of the first line, and text."""
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for match in SAMPLE.finditer(text):
        yield text.count("\n", 0, match.start(1)) + 1, re.sub(r"^ *\* ?", "", match[1], flags=re.MULTILINE)


def program_of(headers):
    """A source with one function per sample. Complaints about it name the header and its line."""
    lines = [BEGIN.format(includes="\n".join(f'#include "{os.path.basename(path)}"' for path in public_headers()))]
    for path in headers:
        for first, text in samples_of(path):
            lines.append(f'void Sample{len(lines)}();\nvoid Sample{len(lines)}()\n{{\n#line {first} "{path}"\n{text}}}\n')
    return "\n".join(lines)


def complaints_about(program):
    """What the compiler says; nothing when it takes the program."""
    result = subprocess.run(COMPILE, input=program, capture_output=True, text=True, check=False)
    return result.stderr if result.returncode else ""


class Samples(unittest.TestCase):

    def test_headers_eachSampleCompiles(self):
        self.assertEqual(complaints_about(program_of(public_headers())), "")

    def test_clientsModelsAndWhatTheyAreGiven_haveASample(self):
        without = [os.path.basename(path) for path in public_headers()
                   if re.match(r"Audio|AdaptorConnection|FocusFeed|ServiceRegistrator|Json|Fake", os.path.basename(path))
                   and not list(samples_of(path))]
        self.assertEqual(without, [])

    def test_brokenSample_isNamedWithItsLine(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "Broken.h")
            with open(path, "w", encoding="utf-8") as file:
                file.write("/**\n * Text.\n *\n * @code\n * const QString mode = KivBaseClient::NoSuchFunction();\n"
                           " * @endcode\n */\n")
            self.assertIn(f"{path}:5:", complaints_about(program_of([path])))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
