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
    "OE_QMAKE_PATH_QML": "/usr/lib/qml",
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

# Which recipe provides what CMake looks for: packages, and components of Qt.
RECIPES = {
    "libcjson": "cjson", "dbus-1": "dbus", "RapidJSON": "rapidjson",
    "Core": "qtbase", "DBus": "qtbase", "Gui": "qtbase", "Test": "qtbase", "Widgets": "qtbase",
    "Qml": "qtdeclarative", "Quick": "qtdeclarative", "QuickTest": "qtdeclarative",
    "QuickControls2": "qtquickcontrols2", "Multimedia": "qtmultimedia", "LinguistTools": "qttools",
}

# Where each feature of the recipe is built, and the package that it fills; "" is what is built always.
FOLDERS = {"": r"(dbus|src|testing|abi|man)/|[^/]*$", "tools": "tools/", "models": "models/", "qml": r"(tests/)?qml/",
           "screens": r"(examples|tests)/screens/", "tests": r"tests/(?!package/|models/consumer/|qml/|screens/)"}
SCREENS = ["hmi-panel", "media-player", "simulator-control"]
FILLED = {"tools": ["tools", "bash-completion"], "models": ["models"], "qml": ["qml"], "screens": ["examples"],
          "tests": ["ptest"]}


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

    def feature(self, name):
        """The flags of a feature: options when on, options when off, what it needs to build."""
        return [self.expand(text) for text in (self.values[f"PACKAGECONFIG[{name}]"].split(",") + [""] * 3)[:3]]

    def options(self, features):
        """The options for CMake with these features only."""
        choices = [self.feature(name)[0 if name in features else 1] for name in FOLDERS if name]
        return self.words("EXTRA_OECMAKE") + " ".join(choices).split()

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


def is_built(feature):
    """Whether the build folder has all that a feature installs."""
    with open(os.path.join(BUILD, "CMakeCache.txt"), encoding="utf-8") as file:
        return re.search(rf"^KIV_BUILD_{feature.upper()}:\w+=ON$", file.read(), re.MULTILINE) is not None


def asked_for(folder_pattern):
    """The recipes of what the project looks for in some of its folders."""
    wanted = set()
    for path in glob.glob(os.path.join(ROOT, "**", "CMakeLists.txt"), recursive=True):
        if not re.match(folder_pattern, os.path.relpath(path, ROOT)):
            continue
        text = read_file(path).decode()
        for components in re.findall(r"find_package\((?:Qt5|\$\{KIV_QT\}) [^)]*COMPONENTS ([^)]*)\)", text):
            wanted.update(components.split())
        wanted.update(re.findall(r"find_package\((?!Qt5|PkgConfig)(\w+)", text))
        wanted.update(re.findall(r"pkg_check_modules\(.* ([\w.-]+)(?:>=[\d.]+)\)", text))
    return {RECIPES[name] for name in wanted}


RECIPE = Recipe(recipe_paths()[0])
FEATURES = [feature for feature in FILLED if is_built(feature)]
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
        self.assertIn("pkgconfig", RECIPE.words("inherit"))
        always = set(RECIPE.words("DEPENDS"))
        self.assertEqual(always - {"qtbase-native"}, asked_for(FOLDERS[""]))
        for feature in FILLED:
            with self.subTest(feature):
                needs = set(RECIPE.feature(feature)[2].split())
                self.assertEqual(needs - {"qttools-native"}, asked_for(FOLDERS[feature]) - always)

    def test_features_areAllKnown(self):
        declared = [found[1] for name in RECIPE.values if (found := re.fullmatch(r"PACKAGECONFIG\[(\w+)\]", name))]
        self.assertEqual(sorted(declared), sorted(FILLED))
        self.assertLessEqual(set(RECIPE.words("PACKAGECONFIG")), set(FILLED))

    def test_options_areKnownToCMake(self):
        text = "".join(read_file(path).decode()
                       for path in glob.glob(os.path.join(ROOT, "**", "CMakeLists.txt"), recursive=True))
        options = set(RECIPE.options(FILLED) + RECIPE.options([]))
        names = sorted(re.findall(r"-D(KIV_\w+)=", " ".join(options)))
        self.assertEqual([name for name in names if not re.search(rf"(option|set)\({name} ", text)], [])
        self.assertEqual(names, sorted([*2 * [f"KIV_BUILD_{name}" for name in (
            "TOOLS", "MODELS", "QML", "SCREENS", "EXAMPLES", "TESTS")], "KIV_QML_FOLDER", "KIV_ZSH_COMPLETIONS"]))


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
        subprocess.run(["cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", "-DCMAKE_INSTALL_PREFIX=/usr",
                        "-DCMAKE_INSTALL_LIBDIR=lib", *RECIPE.options(FEATURES)], check=True, stdout=subprocess.DEVNULL)
        built = ("src/lib*.so*", "bin/*", "models/lib*.so*", "qml/imports/Kiv/Audio/*.so", "examples/screens/*/*-*")
        for path in (path for pattern in built for path in glob.glob(os.path.join(BUILD, pattern))
                     if os.access(path, os.X_OK) and not os.path.isdir(path)):
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

    @staticmethod
    def expected(feature, *paths):
        return list(paths) if feature in FEATURES else []

    def test_everyFile_isInItsPackage(self):
        packages = {}
        for path in sorted(self.installed()):
            packages.setdefault(self.package_of(path), []).append(path)
        self.assertEqual(packages.get("none", []), [])
        empty = [f"{NAME}-{package}" for name in FILLED if name not in FEATURES for package in FILLED[name]]
        self.assertEqual(sorted(packages), sorted(set(RECIPE.words("PACKAGES")) - set(empty)))
        self.assertEqual(packages[NAME], ["/usr/lib/libkiv-qtdbus-lib.so.1", "/usr/lib/libkiv-qtdbus-lib.so.1.0.0"])
        self.assertEqual([path for path in packages[NAME + "-tools"] if "/bin/" in path],
                         ["/usr/bin/kiv-audio-simulator", "/usr/bin/kivctl"])
        self.assertEqual(packages.get(NAME + "-models", []), self.expected(
            "models", "/usr/lib/libkiv-audio-models.so.1", "/usr/lib/libkiv-audio-models.so.1.0.0"))
        self.assertEqual(packages.get(NAME + "-qml", []), self.expected(
            "qml", *(f"/usr/lib/qml/Kiv/Audio/{name}" for name in ("libkivaudioplugin.so", "plugins.qmltypes", "qmldir"))))
        self.assertEqual(packages.get(NAME + "-examples", []), self.expected(
            "screens", "/usr/bin/kiv-audio-demo", *(f"/usr/libexec/kiv-audio-examples/{name}" for name in SCREENS)))
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
