#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""check.py BUILD-FOLDER: checks the recipe as far as that goes without bitbake.

Takes what a build folder of this project has built, installs it with the options of the recipe, packages it by the
FILES patterns of the recipe, and runs the ptest from what was packaged.
"""

import fnmatch
import glob
import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
LAYER = os.path.join(HERE, "meta-kiv-qtdbus")
BUILD = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else sys.exit(__doc__)
NAME = "kiv-qtdbus-lib"

# What bitbake.conf and the inherited classes set, as far as the recipe relies on it.
DEFAULTS = {
    "PN": NAME, "BPN": NAME, "prefix": "/usr", "bindir": "/usr/bin", "sbindir": "/usr/sbin",
    "libdir": "/usr/lib", "libexecdir": "/usr/libexec", "includedir": "/usr/include", "datadir": "/usr/share",
    "docdir": "/usr/share/doc", "mandir": "/usr/share/man", "infodir": "/usr/share/info", "sysconfdir": "/etc",
    "PTEST_PATH": f"/usr/lib/{NAME}/ptest",
    "PACKAGES": "${PN}-ptest ${PN}-dev ${PN}-doc ${PACKAGE_BEFORE_PN} ${PN} ${PN}-bash-completion",
    "PACKAGE_BEFORE_PN": "",
    "FILES:${PN}-dev": "${includedir} ${libdir}/lib*.so ${libdir}/*.la ${libdir}/*.o ${libdir}/pkgconfig "
                       "${datadir}/pkgconfig ${datadir}/aclocal ${libdir}/cmake ${datadir}/cmake",
    "FILES:${PN}-doc": "${docdir} ${mandir} ${infodir}",
    "FILES:${PN}-bash-completion": "${datadir}/bash-completion ${sysconfdir}/bash_completion.d",
    "FILES:${PN}-ptest": "${PTEST_PATH}",
    "FILES:${PN}": "${bindir}/* ${sbindir}/* ${libexecdir}/* ${libdir}/lib*.so.* ${sysconfdir} ${datadir}/${BPN} "
                   "${libdir}/${BPN}/*",
}

# Which recipe provides what CMake looks for.
RECIPES = {"Qt5": "qtbase", "libcjson": "cjson", "dbus-1": "dbus", "RapidJSON": "rapidjson"}


class Recipe:
    """The assignments and shell functions of a recipe, for the few forms that ours has."""

    def __init__(self, path):
        self.values = dict(DEFAULTS)
        with open(path, encoding="utf-8") as file:
            text = re.sub(r"^#.*\n", "", file.read(), flags=re.MULTILINE)
        self.functions = dict(re.findall(r"^(\w+)\(\) \{\n(.*?)^\}\n", text, re.MULTILINE | re.DOTALL))
        text = re.sub(r"^\w+\(\) \{\n.*?^\}\n", "", text, flags=re.MULTILINE | re.DOTALL)
        self.unread = []
        for line in text.replace("\\\n", " ").splitlines():
            self.read(line.strip())

    def read(self, line):
        assignment = re.fullmatch(r'([\w:${}\[\]-]+) (\?\?=|\?=|\+=|=) "(.*)"', line)
        if assignment:
            name, operator, value = assignment.groups()
            if operator == "+=":
                value = self.values.get(name, "") + " " + value
            self.values[name] = value
        elif line.startswith("inherit "):
            self.values["inherit"] = line[len("inherit "):]
        elif line:
            self.unread.append(line)

    def words(self, name):
        return self.expand(self.values.get(name, "")).split()

    def expand(self, text):
        text = re.sub(r"\$\{@bb\.utils\.contains\('(\w+)', '(\w+)', '([^']*)', '([^']*)', d\)\}", self.contains, text)
        while True:
            expanded = re.sub(r"\$\{([\w-]+)\}", lambda found: self.values[found[1]], text)
            if expanded == text:
                return text
            text = expanded

    def contains(self, found):
        name, wanted, yes, no = found.groups()
        have = "1" if name == "PTEST_ENABLED" else self.values[name]
        return yes if wanted in self.expand(have).split() else no

    def features(self):
        """The flags of each enabled feature: options when on, options when off, what it needs to build."""
        for feature in self.words("PACKAGECONFIG"):
            yield (self.values[f"PACKAGECONFIG[{feature}]"].split(",") + [""] * 3)[:3]

    def shell(self, function, **variables):
        """The function, with bitbake's variables in their places."""
        body = self.functions[function]
        for name, value in variables.items():
            body = body.replace("${%s}" % name, value)
        return self.expand(body)


def read_file(path):
    with open(path, "rb") as file:
        return file.read()


def recipe_paths():
    return glob.glob(os.path.join(LAYER, "recipes-*", NAME, f"{NAME}_*.bb"))


RECIPE = Recipe(recipe_paths()[0])
RUN_PTEST = os.path.join(os.path.dirname(recipe_paths()[0]), NAME, "run-ptest")


class Text(unittest.TestCase):

    def test_recipe_isUnderstood(self):
        self.assertEqual(RECIPE.unread, [])

    def test_version_isThatOfTheProject(self):
        project = read_file(os.path.join(ROOT, "CMakeLists.txt")).decode()
        version = re.search(r"VERSION (\d+\.\d+\.\d+)\n", project)[1]
        self.assertEqual([os.path.basename(path) for path in recipe_paths()], [f"{NAME}_{version}.bb"])

    def test_variables_thatEachRecipeNeeds_areThere(self):
        needed = ("SUMMARY", "DESCRIPTION", "SECTION", "LICENSE", "LIC_FILES_CHKSUM", "DEPENDS", "SRC_URI")
        self.assertEqual([name for name in needed if not RECIPE.words(name)], [])
        self.assertLessEqual(len(RECIPE.values["SUMMARY"]), 72)

    def test_recipe_makesNoExceptions(self):
        self.assertEqual([name for name in RECIPE.values if "INSANE_SKIP" in name or name.endswith("_QA")], [])

    def test_source_isNotFetched(self):
        self.assertEqual(RECIPE.words("SRC_URI"), ["file://run-ptest"])
        self.assertIn("externalsrc", RECIPE.words("inherit"))
        self.assertTrue(os.path.isfile(RUN_PTEST))

    def test_license_isTheOneThatIsThere(self):
        name, md5 = re.fullmatch(r"file://(\S+);md5=(\w+)", RECIPE.values["LIC_FILES_CHKSUM"]).groups()
        self.assertEqual(hashlib.md5(read_file(os.path.join(ROOT, name))).hexdigest(), md5)

    def test_dependencies_areThoseOfCMake(self):
        wanted = set()
        for path in glob.glob(os.path.join(ROOT, "**", "CMakeLists.txt"), recursive=True):
            if re.match(r"benchmarks|build|examples|tests/(package|models/consumer)", os.path.relpath(path, ROOT)):
                continue
            text = read_file(path).decode()
            wanted.update(name.replace("${KIV_QT}", "Qt5") for name in re.findall(r"find_package\(([\w${}]+)", text))
            wanted.update(re.findall(r"pkg_check_modules\(.* ([\w.-]+)(?:>=[\d.]+)\)", text))
        wanted.remove("PkgConfig")
        self.assertIn("pkgconfig", RECIPE.words("inherit"))
        given = set(RECIPE.words("DEPENDS"))
        for _, _, needs in RECIPE.features():
            given.update(needs.split())
        self.assertEqual({RECIPES[name] for name in wanted}, given - {"qtbase-native"})

    def test_options_areKnownToCMake(self):
        text = "".join(read_file(path).decode()
                       for path in glob.glob(os.path.join(ROOT, "**", "CMakeLists.txt"), recursive=True))
        options = [*RECIPE.words("EXTRA_OECMAKE"), *(word for on, off, _ in RECIPE.features() for word in (on, off))]
        names = [name for name in re.findall(r"-D(KIV_\w+)=", " ".join(options))]
        self.assertEqual([name for name in names if not re.search(rf"(option|set)\({name} ", text)], [])
        self.assertEqual(len(names), 7)


class Packages(unittest.TestCase):
    """What is installed with the options of the recipe, and how it is packaged."""

    @classmethod
    def setUpClass(cls):
        cls.stage = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.stage)
        cls.image = os.path.join(cls.stage, "image")
        cls.install()
        cls.install_ptest()

    @classmethod
    def install(cls):
        """With the real rules of installation, and programs that are built already."""
        folder = os.path.join(cls.stage, "build")
        options = RECIPE.words("EXTRA_OECMAKE") + [on for on, _, _ in RECIPE.features()]
        subprocess.run(["cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", "-DCMAKE_INSTALL_PREFIX=/usr",
                        "-DCMAKE_INSTALL_LIBDIR=lib", *options], check=True, stdout=subprocess.DEVNULL)
        for path in glob.glob(os.path.join(BUILD, "src", "lib*.so*")) + glob.glob(os.path.join(BUILD, "bin", "*")):
            place = os.path.join(folder, os.path.relpath(path, BUILD))
            os.makedirs(os.path.dirname(place), exist_ok=True)
            shutil.copy2(path, place, follow_symlinks=False)
        subprocess.run(["cmake", "--install", folder], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "DESTDIR": cls.image})

    @classmethod
    def install_ptest(cls):
        script = RECIPE.shell("do_install_ptest", B=BUILD, D=cls.image)
        subprocess.run(["sh", "-e", "-c", script], check=True)
        cls.ptest = cls.image + RECIPE.values["PTEST_PATH"]
        shutil.copy(RUN_PTEST, cls.ptest)

    def installed(self):
        for folder, _, names in os.walk(self.image):
            for name in names:
                yield os.path.join(folder, name)[len(self.image):]

    def package_of(self, path):
        """The first package, in the order in which bitbake fills them, that claims the file."""
        for package in RECIPE.words("PACKAGES"):
            for pattern in RECIPE.words(package.replace(NAME, "FILES:${PN}", 1)):
                claimed = path
                while claimed != "/":
                    if fnmatch.fnmatch(claimed, pattern) and claimed.count("/") == pattern.count("/"):
                        return package
                    claimed = os.path.dirname(claimed)
        return "none"

    def test_everyFile_isInItsPackage(self):
        packages = {}
        for path in sorted(self.installed()):
            packages.setdefault(self.package_of(path), []).append(path)
        self.assertEqual(packages.get("none", []), [])
        self.assertEqual(sorted(packages), sorted(RECIPE.words("PACKAGES")))
        self.assertEqual(packages[NAME], ["/usr/lib/libkiv-qtdbus-lib.so.1", "/usr/lib/libkiv-qtdbus-lib.so.1.0.0"])
        self.assertEqual([path for path in packages[NAME + "-tools"] if "/bin/" in path],
                         ["/usr/bin/kiv-audio-simulator", "/usr/bin/kivctl"])
        self.assertEqual([path for path in packages[NAME + "-dev"] if path.startswith("/usr/share/")],
                         ["/usr/share/dbus-1/interfaces/com.quorvantel.ServiceProvider.xml",
                          "/usr/share/kiv-qtdbus-lib/schemas/protocol.schema.json"])

    def test_ptestPrograms_needNothingOfTheSourceTree(self):
        root = re.escape(ROOT.encode())
        for program in glob.glob(os.path.join(self.ptest, "*", "*")):
            paths = re.findall(rb"(?:%s|%s)[^\0]*" % (re.escape(BUILD.encode()), root), read_file(program))
            self.assertEqual(paths, [], program)

    def run_ptest(self):
        environment = {**os.environ, "LD_LIBRARY_PATH": f"{self.image}/usr/lib",
                       "PATH": f"{self.image}/usr/bin:{os.environ['PATH']}"}
        environment.pop("DBUS_SYSTEM_BUS_ADDRESS", None)
        ran = subprocess.run([os.path.join(self.ptest, "run-ptest")], env=environment, stdout=subprocess.PIPE,
                             text=True, check=False)
        return ran.returncode, ran.stdout

    def test_ptest_passes(self):
        code, output = self.run_ptest()
        names = sorted(RECIPE.words("KIV_PTESTS")) + ["tools"]
        self.assertEqual(sorted(output.splitlines()), sorted(f"PASS: {name}" for name in names))
        self.assertEqual(code, 0)

    def test_ptest_failingProgram_isReported(self):
        programs = glob.glob(os.path.join(self.ptest, "*", "tst_*"))
        kept = os.path.join(self.stage, "kept")
        os.mkdir(kept)
        for program in programs:
            shutil.move(program, os.path.join(kept, os.path.basename(program)))
        broken = os.path.join(self.ptest, "unit", "tst_Broken")
        bare = os.path.join(self.ptest, "bus", "tst_Bare")
        for path, script in ((broken, "echo it is broken; exit 3"), (bare, "true")):
            with open(path, "w", encoding="utf-8") as file:
                file.write(f"#!/bin/sh\n{script}\n")
            os.chmod(path, 0o755)
        try:
            code, output = self.run_ptest()
        finally:
            os.remove(broken)
            os.remove(bare)
            for program in programs:
                shutil.move(os.path.join(kept, os.path.basename(program)), program)
        self.assertEqual(output.splitlines(),
                         ["it is broken", "FAIL: unit/tst_Broken", "PASS: bus/tst_Bare", "PASS: tools"])
        self.assertEqual(code, 1)


if __name__ == "__main__":
    unittest.main()
