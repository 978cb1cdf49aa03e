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
# The libraries that are built, and where.
BUILT = {folder: package for folder, package in (("src", PACKAGE), ("models", PACKAGE.replace("qtdbus-lib", "audio-models")))
         if os.path.isdir(os.path.join(BUILD, folder))}


class Versions(unittest.TestCase):

    def test_changelog_beginsWithTheVersion(self):
        self.assertEqual(first(r"## (.*)", "CHANGELOG.md"), VERSION)

    def test_debianPackages_haveTheVersion(self):
        found = first(r"kiv-qtdbus-lib \((.*)\) .*", "debian", "changelog")
        self.assertEqual(re.sub(r"(-[^-]*)?(~bpo.*)?$", "", found), VERSION)

    def test_debianPackagesOfLibraries_areNamedAfterTheirSonames(self):
        packages = [line.split()[1] for line in lines_of("debian", "control") if line.startswith("Package: ")]
        for library in ("libkiv-qtdbus-lib", "libkiv-audio-models"):
            self.assertIn(f"{library}{MAJOR}", packages)
            self.assertEqual(names_in("debian/*", rf"{library}(\d+)\.symbols"), [MAJOR])
            soname = first(rf"({library}\.so\S+) .*", "debian", f"{library}{MAJOR}.symbols")
            self.assertEqual(soname, f"{library}.so.{MAJOR}")

    def test_yoctoRecipe_isNamedAfterTheVersion(self):
        self.assertEqual(names_in("packaging/yocto/*/recipes-*/kiv-qtdbus-lib/*", r"kiv-qtdbus-lib_(.*)\.bb"), [VERSION])

    def test_manualPages_nameTheVersion(self):
        pages = sorted(glob.glob(os.path.join(ROOT, "man", "*.[0-9]")))
        self.assertGreater(len(pages), 0)
        self.assertEqual({os.path.basename(page): first(r"\.Os (.*)", page) for page in pages},
                         {os.path.basename(page): f"kiv-qtdbus-lib {VERSION}" for page in pages})

    def test_recordedInterfaces_areOfTheVersion(self):
        for library in ("kiv-qtdbus-lib", "kiv-audio-models"):
            records = sorted(glob.glob(os.path.join(ROOT, "abi", "*", library, "version")))
            self.assertGreater(len(records), 0)
            for record in records:
                self.assertEqual(lines_of(record), [f"version {VERSION}", f"soname lib{library}.so.{MAJOR}"], record)

    def test_documents_askForNoOtherVersion(self):
        wanted = VERSION.rsplit(".", maxsplit=1)[0]
        documents = glob.glob(os.path.join(ROOT, "docs", "**", "*.md"), recursive=True)
        places = [os.path.join(ROOT, "README.md"), os.path.join(ROOT, "man", "kiv-qtdbus-lib.7"),
                  os.path.join(ROOT, "examples", "CMakeLists.txt"),
                  os.path.join(ROOT, "examples", "screens", "CMakeLists.txt"), *sorted(documents)]
        names = r"kiv-(?:qtdbus-lib|audio-models)(?:-qt6)?|\$\{KIV_(?:MODELS_)?PACKAGE\}"
        request = re.compile(rf"find_package\((?:{names}) ([\d.]+)")
        found = {(os.path.relpath(path, ROOT), version) for path in places
                 for line in lines_of(path) for version in request.findall(line)}
        self.assertLessEqual({("README.md", wanted), ("examples/CMakeLists.txt", wanted),
                              ("examples/screens/CMakeLists.txt", wanted)}, found)
        self.assertEqual({place for place in found if place[1] != wanted}, set())

    def test_builtLibraries_areNamedAfterTheVersion(self):
        for name, package in BUILT.items():
            folder = os.path.join(BUILD, name)
            links = {name: os.readlink(os.path.join(folder, name)) for name in os.listdir(folder)
                     if os.path.islink(os.path.join(folder, name))}
            library = f"lib{package}.so"
            self.assertEqual(links, {library: f"{library}.{MAJOR}", f"{library}.{MAJOR}": f"{library}.{VERSION}"})

    def test_packageFiles_haveTheVersion(self):
        for folder, package in BUILT.items():
            self.assertEqual(first(r"Version: (.*)", BUILD, folder, f"{package}.pc"), VERSION)
            versions = f"{package}-config-version.cmake"
            self.assertEqual(first(r'set\(PACKAGE_VERSION "(.*)"\)', BUILD, folder, versions), VERSION)

    def test_packageOfTheModels_asksForTheLibraryOfTheSameVersion(self):
        if "models" in BUILT:
            package = os.path.join(BUILD, "models", BUILT["models"])
            self.assertEqual(first(rf"find_dependency\({PACKAGE} (.*)\)", f"{package}-config.cmake"), VERSION)
            self.assertEqual(first(rf"Requires\.private: {PACKAGE} = (.*)", f"{package}.pc"), VERSION)

    def test_programs_printTheVersion(self):
        screens = os.path.join(BUILD, "examples", "screens")
        programs = glob.glob(os.path.join(BUILD, PROGRAMS, "k*")) + [
            program for program in glob.glob(os.path.join(screens, "*", "*"))
            if os.path.basename(program) == os.path.basename(os.path.dirname(program))]
        offscreen = {**os.environ, "QT_QPA_PLATFORM": "offscreen"}
        for program in programs:
            said = subprocess.run([program, "--version"], check=True, capture_output=True, text=True, env=offscreen).stdout
            self.assertEqual(said, f"{os.path.basename(program)} {VERSION}\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
