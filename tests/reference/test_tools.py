# SPDX-License-Identifier: MIT
"""test_tools.py ROOT: the programs in docs/reference, which need no Doxygen themselves."""

import glob
import os
import subprocess
import sys
import tempfile
import unittest

REFERENCE = os.path.join(sys.argv[1], "docs", "reference")
CHART = "participant a One\nparticipant b Two\n"


def run(program, *arguments):
    """Exit code, standard output and standard error of a program in docs/reference."""
    result = subprocess.run([os.path.join(REFERENCE, program), *arguments], capture_output=True, text=True, check=False)
    return result.returncode, result.stdout, result.stderr


class Files(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path


class CheckLinks(Files):

    def test_wholeSite_isTaken(self):
        self.write("index.html", '<a id="top" href="#top">a</a><a href="https://example.org/x#y">b</a>')
        self.write("menu.js", 'var menu = ["index.html#top"];')
        self.assertEqual(run("check-links", self.folder), (0, "1 pages, 3 links, 0 into the void\n", ""))

    def test_linksIntoTheVoid_areNamed(self):
        self.write("index.html", '<a href="gone.html">a</a><a href="#gone">b</a><img src="gone.svg">')
        self.write("menu.js", 'var menu = ["index.html#lost"];')
        self.write("drawing.svg", '<a xlink:href="lost.html">c</a>')
        self.assertEqual(run("check-links", self.folder), (1, "1 pages, 5 links, 5 into the void\n", "".join(
            f"check-links: {line}\n" for line in (
                "drawing.svg: lost.html: there is no lost.html",
                'index.html: #gone: there is no section "gone"',
                "index.html: gone.html: there is no gone.html",
                "index.html: gone.svg: there is no gone.svg",
                'menu.js: index.html#lost: there is no section "lost"'))))

    def test_noPage_isRefused(self):
        self.assertEqual(run("check-links", self.folder)[0], 2)


class Charts(Files):

    def test_chartsOfTheTree_areTaken(self):
        charts = glob.glob(os.path.join(REFERENCE, "diagrams", "*.chart"))
        self.assertGreater(len(charts), 5)
        self.assertEqual([run("chart-to-dot", chart)[::2] for chart in charts], [(0, "")] * len(charts))

    def test_callWithAnswer_hasABar(self):
        bar = 'fillcolor="#f4c7a1"'
        answered = run("chart-to-dot", self.write("answered", CHART + "a -> b: call\nb --> a: answer\n"))[1]
        sent = run("chart-to-dot", self.write("sent", CHART + "a ~> b: call\n"))[1]
        self.assertEqual((answered.count(bar), sent.count(bar)), (1, 0))

    def test_badLines_areNamed(self):
        for line, complaint in (("a => b: call", "3: expected a participant, an arrow, a note or a phase"),
                                ("a -> c: call", '3: "c": expected one of a, b')):
            path = self.write("bad", CHART + line + "\n")
            self.assertEqual(run("chart-to-dot", path), (1, "", f"{path}:{complaint}\n"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
