# SPDX-License-Identifier: MIT
"""test_versions.py BUILD PACKAGE PROGRAM-FOLDER: whatever names the version names the same one.

BUILD is a build folder of this project with everything built.
"""

import glob
import os
import re
import subprocess
import sys
import unittest

BUILD, PACKAGE, PROGRAMS = sys.argv[1:4]
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def lines_of(*path):
    with open(os.path.join(ROOT, *path), encoding="utf-8") as file:
        return file.read().splitlines()


def first(pattern, *path):
    """What the first line that looks so says, in the pattern's group."""
    return next((found[1] for line in lines_of(*path) if (found := re.fullmatch(pattern, line))), None)


def names_in(folder, pattern):
    """The pattern's group, of each name in a folder that looks so."""
    names = sorted(os.path.basename(path) for path in glob.glob(os.path.join(ROOT, folder)))
    return [found[1] for name in names if (found := re.fullmatch(pattern, name))]


VERSION = first(r" +VERSION (\d+\.\d+\.\d+)", "CMakeLists.txt")
MAJOR = VERSION.split(".", maxsplit=1)[0]


class Versions(unittest.TestCase):

    def test_changelog_beginsWithTheVersion(self):
        self.assertEqual(first(r"## (.*)", "CHANGELOG.md"), VERSION)

    def test_debianPackages_haveTheVersion(self):
        found = first(r"kiv-qtdbus-lib \((.*)\) .*", "debian", "changelog")
        self.assertEqual(re.sub(r"(-[^-]*)?(~bpo.*)?$", "", found), VERSION)

    def test_debianPackageOfTheLibrary_isNamedAfterTheSoname(self):
        packages = [line.split()[1] for line in lines_of("debian", "control") if line.startswith("Package: ")]
        self.assertIn(f"libkiv-qtdbus-lib{MAJOR}", packages)
        self.assertEqual(names_in("debian/*", r"libkiv-qtdbus-lib(\d+)\.symbols"), [MAJOR])
        symbols = f"libkiv-qtdbus-lib{MAJOR}.symbols"
        self.assertEqual(first(r"(libkiv-qtdbus-lib\.so\S+) .*", "debian", symbols), f"libkiv-qtdbus-lib.so.{MAJOR}")

    def test_yoctoRecipe_isNamedAfterTheVersion(self):
        self.assertEqual(names_in("packaging/yocto/*/recipes-*/kiv-qtdbus-lib/*", r"kiv-qtdbus-lib_(.*)\.bb"), [VERSION])

    def test_manualPages_nameTheVersion(self):
        pages = sorted(glob.glob(os.path.join(ROOT, "man", "*.[0-9]")))
        self.assertGreater(len(pages), 0)
        self.assertEqual({os.path.basename(page): first(r"\.Os (.*)", page) for page in pages},
                         {os.path.basename(page): f"kiv-qtdbus-lib {VERSION}" for page in pages})

    def test_recordedInterface_isOfTheVersion(self):
        records = sorted(glob.glob(os.path.join(ROOT, "abi", "*", "version")))
        self.assertGreater(len(records), 0)
        for record in records:
            self.assertEqual(lines_of(record), [f"version {VERSION}", f"soname libkiv-qtdbus-lib.so.{MAJOR}"], record)

    def test_documents_askForNoOtherVersion(self):
        wanted = VERSION.rsplit(".", maxsplit=1)[0]
        documents = glob.glob(os.path.join(ROOT, "docs", "**", "*.md"), recursive=True)
        places = [os.path.join(ROOT, "README.md"), os.path.join(ROOT, "man", "kiv-qtdbus-lib.7"),
                  os.path.join(ROOT, "examples", "CMakeLists.txt"), *sorted(documents)]
        request = re.compile(r"find_package\((?:kiv-qtdbus-lib(?:-qt6)?|\$\{KIV_PACKAGE\}) ([\d.]+)")
        found = {(os.path.relpath(path, ROOT), version) for path in places
                 for line in lines_of(path) for version in request.findall(line)}
        self.assertLessEqual({("README.md", wanted), ("examples/CMakeLists.txt", wanted)}, found)
        self.assertEqual({place for place in found if place[1] != wanted}, set())

    def test_builtLibrary_isNamedAfterTheVersion(self):
        folder = os.path.join(BUILD, "src")
        links = {name: os.readlink(os.path.join(folder, name)) for name in os.listdir(folder)
                 if os.path.islink(os.path.join(folder, name))}
        library = f"lib{PACKAGE}.so"
        self.assertEqual(links, {library: f"{library}.{MAJOR}", f"{library}.{MAJOR}": f"{library}.{VERSION}"})

    def test_packageFiles_haveTheVersion(self):
        self.assertEqual(first(r"Version: (.*)", BUILD, "src", f"{PACKAGE}.pc"), VERSION)
        self.assertEqual(first(r'set\(PACKAGE_VERSION "(.*)"\)', BUILD, "src", f"{PACKAGE}-config-version.cmake"), VERSION)

    def test_programs_printTheVersion(self):
        for program in glob.glob(os.path.join(BUILD, PROGRAMS, "k*")):
            said = subprocess.run([program, "--version"], check=True, capture_output=True, text=True).stdout
            self.assertEqual(said, f"{os.path.basename(program)} {VERSION}\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
