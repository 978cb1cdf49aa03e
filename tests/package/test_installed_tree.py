# SPDX-License-Identifier: MIT
"""test_installed_tree.py BUILD COMPILER QT-MAJOR PACKAGE PROGRAM-FOLDER: what is installed is whole, clean and in its place.

BUILD is a build folder of this project with everything built.
"""

import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, COMPILER, QT, PACKAGE, PROGRAMS = sys.argv[1:6]
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
LIBRARY = f"lib{PACKAGE}.so"
MODELS_PACKAGE = PACKAGE.replace("qtdbus-lib", "audio-models")
MODELS = f"lib{MODELS_PACKAGE}.so"
PLUGIN = "libkivaudioplugin.so"
SCREENS = "libexec/kiv-audio-examples"

# What each file needs, beside the C and C++ run time.
RUN_TIME = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6", "ld-linux-x86-64.so.2"}
QT_LIBRARIES = {f"libQt{QT}Core.so.{QT}", f"libQt{QT}DBus.so.{QT}"}
NEEDED = {
    LIBRARY: QT_LIBRARIES | {"libcjson.so.1"},
    "kiv-audio-simulator": QT_LIBRARIES,
    "kivctl": QT_LIBRARIES | {"libdbus-1.so.3"},
    MODELS: QT_LIBRARIES,
    PLUGIN: QT_LIBRARIES | {f"libQt{QT}Qml.so.{QT}"},
    "hmi-panel": {f"libQt{QT}{name}.so.{QT}" for name in ("Core", "Gui", "Qml", "Quick", "QuickControls2")},
    "media-player": QT_LIBRARIES | {f"libQt{QT}{name}.so.{QT}" for name in ("Gui", "Multimedia", "Widgets")},
    "simulator-control": QT_LIBRARIES | {f"libQt{QT}{name}.so.{QT}" for name in ("Gui", "Widgets")},
}

TRIPLET = subprocess.run([COMPILER, "-print-multiarch"], check=True, capture_output=True, text=True).stdout.strip()


def output_of(*command, **environment):
    """What a command says, which must succeed."""
    done = subprocess.run(command, check=False, capture_output=True, text=True, env={**os.environ, **environment})
    if done.returncode != 0:
        raise AssertionError(f"{shlex.join(command)}: exit code {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def read(path):
    with open(path, "rb") as file:
        return file.read()


def project_version():
    return re.search(r"VERSION (\d+\.\d+\.\d+)\n", read(os.path.join(ROOT, "CMakeLists.txt")).decode())[1]


def setting(name):
    """What the build folder was configured with."""
    found = re.search(rf"^{name}:\w+=(.*)$", read(os.path.join(BUILD, "CMakeCache.txt")).decode(), re.MULTILINE)
    return found[1] if found else ""


def is_built(part):
    return setting(f"KIV_BUILD_{part}") == "ON"


def is_elf(path):
    return not os.path.islink(path) and read(path).startswith(b"\x7fELF")


def files_of(tree):
    return sorted(os.path.join(folder, name) for folder, _, names in os.walk(tree) for name in names)


def dynamic_entries(path, name):
    return re.findall(rf"\({name}\).*\[(.*)\]", output_of("readelf", "--dynamic", "--wide", path, LC_ALL="C"))


def content_of(path):
    """The bytes of a file; debug information in clear text."""
    if not is_elf(path):
        return read(path)
    with tempfile.NamedTemporaryFile() as clear:
        output_of("objcopy", "--decompress-debug-sections", path, clear.name)
        return read(clear.name)


def telling_paths(tree):
    """The files of a tree that name the source folder or the build folder, with the names."""
    folders = {os.path.abspath(place) for place in (ROOT, BUILD)} | {os.path.realpath(place) for place in (ROOT, BUILD)}
    pattern = re.compile(b"(?:%s)[^\\0\\n]*" % b"|".join(re.escape(folder.encode()) for folder in folders))
    return {path[len(tree):]: found for path in files_of(tree)
            if not os.path.islink(path) and (found := sorted(set(pattern.findall(content_of(path)))))}


class WholeTree(unittest.TestCase):
    """All that the build installs."""

    @classmethod
    def setUpClass(cls):
        cls.stage = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.stage)
        cls.tree = os.path.join(cls.stage, "tree")
        output_of("cmake", "--install", BUILD, "--prefix", cls.tree)
        cls.elf = [path for path in files_of(cls.tree) if is_elf(path)]

    def test_noFile_namesAFolderOfTheBuild(self):
        self.assertEqual(telling_paths(self.tree), {})

    def test_noStrippedFile_namesAFolderOfTheBuild(self):
        stripped = os.path.join(self.stage, "stripped")
        output_of("cmake", "--install", BUILD, "--prefix", stripped, "--strip")
        self.assertEqual(telling_paths(stripped), {})

    def test_plantedPaths_areSeen(self):
        planted = os.path.join(self.stage, "planted")
        os.mkdir(planted)
        with open(os.path.join(planted, "text"), "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\nexec {BUILD}/bin/kivctl\n")
        with open(os.path.join(planted, "binary"), "wb") as file:
            file.write(b"\0\1" + ROOT.encode() + b"/src\0")
        source = os.path.join(BUILD, "tests", "package", "planted.cpp")
        self.addCleanup(os.remove, source)
        with open(source, "w", encoding="utf-8") as file:
            file.write("int main() {}\n")
        output_of(COMPILER, "-g", "-gz=zlib", source, "-o", os.path.join(planted, "debug"))
        self.assertEqual(sorted(telling_paths(planted)), ["/binary", "/debug", "/text"])

    def test_programs_haveNoPathToLibraries(self):
        self.assertEqual([path for path in self.elf
                          if dynamic_entries(path, "RPATH") + dynamic_entries(path, "RUNPATH")], [])

    def test_eachFile_needsWhatIsDocumented(self):
        major = project_version().split(".", maxsplit=1)[0]
        library, models = {f"{LIBRARY}.{major}"}, {f"{MODELS}.{major}"}
        own = {"kivctl": library, MODELS: library, PLUGIN: models, "media-player": models, "simulator-control": models}
        for path in self.elf:
            name = re.sub(r"(?<=\.so)\..*", "", os.path.basename(path))
            expected = NEEDED[name] | own.get(name, set())
            self.assertEqual(set(dynamic_entries(path, "NEEDED")) - RUN_TIME, expected, name)

    def test_programsAndLibraries_areThoseThatAreBuilt(self):
        version = project_version()
        libraries = setting("CMAKE_INSTALL_LIBDIR")
        parts = {
            "TOOLS": [f"{PROGRAMS}/kiv-audio-simulator", f"{PROGRAMS}/kivctl"],
            "MODELS": [f"{libraries}/{MODELS}.{version}"],
            "QML": [f"{setting('KIV_QML_FOLDER')}/Kiv/Audio/{PLUGIN}"],
            "SCREENS": [f"{SCREENS}/{name}" for name in ("hmi-panel", "media-player", "simulator-control")],
        }
        expected = [path for part, paths in parts.items() if is_built(part) for path in paths]
        self.assertEqual(sorted(path[len(self.tree) + 1:] for path in self.elf),
                         sorted([f"{libraries}/{LIBRARY}.{version}", *expected]))

    def test_links_leadToTheLibraryByItsSoname(self):
        version = project_version()
        major = version.split(".", maxsplit=1)[0]
        library = next(path for path in self.elf if os.path.basename(path).startswith(LIBRARY))
        folder = os.path.dirname(library)
        self.assertEqual(dynamic_entries(library, "SONAME"), [f"{LIBRARY}.{major}"])
        libraries = [name for name in (LIBRARY, MODELS) if os.path.exists(os.path.join(folder, name))]
        links = {name: os.readlink(os.path.join(folder, name)) for name in os.listdir(folder)
                 if os.path.islink(os.path.join(folder, name))}
        self.assertEqual(links, {name + tail: f"{name}.{target}" for name in libraries
                                 for tail, target in (("", major), (f".{major}", version))})

    def test_folders_areOpenToEverybody(self):
        for path in files_of(self.tree):
            is_program = path in self.elf and ".so" not in os.path.basename(path)
            expected = 0o755 if is_program or os.path.dirname(path) == f"{self.tree}/bin" else 0o644
            if not os.path.islink(path):
                self.assertEqual(os.stat(path).st_mode & 0o777, expected, path)


class Layout(unittest.TestCase):
    """The libraries alone, with the real rules of installation, for other places than the default ones."""

    packages = {"src": PACKAGE, **({"models": MODELS_PACKAGE} if is_built("MODELS") else {})}

    def setUp(self):
        self.stage = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.stage)
        self.image = os.path.join(self.stage, "image")

    def install(self, prefix, *options, image=None):
        folder = os.path.join(self.stage, "build")
        parts = [f"-DKIV_BUILD_{part}=OFF" for part in ("TOOLS", "TESTS", "EXAMPLES")]
        parts.append(f"-DKIV_BUILD_MODELS={'ON' if 'models' in self.packages else 'OFF'}")
        output_of("cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}",
                  f"-DKIV_QT_MAJOR={QT}", *parts, f"-DCMAKE_INSTALL_PREFIX={prefix}", *options)
        for place, package in self.packages.items():
            for name in os.listdir(os.path.join(BUILD, place)):
                if name.startswith(f"lib{package}.so"):
                    shutil.copy2(os.path.join(BUILD, place, name), os.path.join(folder, place), follow_symlinks=False)
        output_of("cmake", "--install", folder, DESTDIR=self.image if image is None else image)

    def pkg_config(self, folder, package, *options):
        words = output_of("pkg-config", *options, package, PKG_CONFIG_PATH=os.path.join(folder, "pkgconfig"))
        return [self.plain(word) for word in shlex.split(words)]

    @staticmethod
    def plain(word):
        """An option with its path in the shortest form."""
        option, path = re.fullmatch(r"(-[IL])?(.*)", word).groups()
        return (option or "") + (os.path.normpath(path) if path.startswith("/") else path)

    def use_with_cmake(self, libraries, package=PACKAGE):
        """A stranger's project that names nothing but this package."""
        project = os.path.join(ROOT, "tests", "package" if package == PACKAGE else "models", "consumer")
        folder = os.path.join(self.stage, f"{package}-consumer")
        places = [f"-D{name}_DIR={libraries}/cmake/{name}" for name in self.packages.values()]
        output_of("cmake", "-S", project, "-B", folder, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}",
                  "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF", *places, f"-DPACKAGE={package}",
                  "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
        output_of("cmake", "--build", folder)
        output_of(os.path.join(folder, "consumer"), LD_LIBRARY_PATH=libraries,
                  DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent")

    def check_places(self, prefix, libraries, headers):
        """Each file of a library's is in one of its folders; the documents and such are in share."""
        own = {place for name in self.packages.values() for place in (f"{libraries}/cmake/{name}", f"{headers}/{name}")}
        installed = {os.path.dirname(path) for path in files_of(os.path.commonpath([prefix, libraries, headers]))}
        self.assertEqual({folder for folder in installed if not folder.startswith(f"{prefix}/share/")},
                         {libraries, f"{libraries}/pkgconfig", *own})

    def check_pkg_config(self, package, libraries, headers):
        """The models use the library, and do not show it."""
        flags = self.pkg_config(libraries, package, "--cflags")
        folders = [f"-I{headers}/{name}" for name in dict.fromkeys((package, PACKAGE))]
        self.assertEqual([flag for flag in flags if flag.startswith(f"-I{headers}/")], folders)
        qt = output_of("pkg-config", "--cflags", f"Qt{QT}Core", f"Qt{QT}DBus").split()
        cjson = output_of("pkg-config", "--cflags", "libcjson").split()
        self.assertEqual(set(flags), set(folders + qt + cjson))
        self.assertEqual(self.pkg_config(libraries, package, "--libs"),
                         [f"-L{libraries}", f"-l{package}", f"-lQt{QT}DBus", f"-lQt{QT}Core"])
        self.assertIn("-lcjson", self.pkg_config(libraries, package, "--libs", "--static"))
        for name, folder in (("libdir", libraries), ("includedir", headers)):
            self.assertEqual(self.pkg_config(libraries, package, f"--variable={name}"), [folder])

    def check(self, prefix, libraries, headers):
        """A tree with these folders is whole, and of use to a stranger."""
        self.check_places(prefix, libraries, headers)
        for package in self.packages.values():
            self.check_pkg_config(package, libraries, headers)
        self.use_with_cmake(libraries)

    def check_staged(self, prefix, libraries="lib", headers="include", options=()):
        self.install(prefix, *options)
        prefix = self.image + prefix
        self.check(prefix, f"{prefix}/{libraries}", f"{prefix}/{headers}")

    def test_prefixUsr_withFolderOfTheArchitecture(self):
        self.check_staged("/usr", f"lib/{TRIPLET}", options=[f"-DCMAKE_INSTALL_LIBDIR=lib/{TRIPLET}"])

    def test_prefixUsr_lib64(self):
        self.check_staged("/usr", "lib64", options=["-DCMAKE_INSTALL_LIBDIR=lib64"])

    def test_prefixOpt(self):
        self.check_staged("/opt/x")

    def test_prefixWithBlanks(self):
        self.check_staged("/opt/two  words")

    def test_otherFolders(self):
        self.check_staged("/opt/x", "deep/down/lib", "inc",
                          ["-DCMAKE_INSTALL_LIBDIR=deep/down/lib", "-DCMAKE_INSTALL_INCLUDEDIR=inc"])

    def test_absoluteFolders(self):
        libraries, headers = (os.path.join(self.stage, "image", name) for name in ("libraries", "headers"))
        prefix = os.path.join(self.stage, "image", "rest")
        self.install(prefix, f"-DCMAKE_INSTALL_LIBDIR={libraries}", f"-DCMAKE_INSTALL_INCLUDEDIR={headers}", image="")
        self.check(prefix, libraries, headers)
        if "models" in self.packages:
            self.use_with_cmake(libraries, MODELS_PACKAGE)

    def test_pkgConfigFile_requiresWhatTheHeadersNeed(self):
        self.install("/usr", "-DCMAKE_INSTALL_LIBDIR=lib")
        version = {"5": "5.15", "6": "6.4"}[QT]
        place = {"PKG_CONFIG_PATH": f"{self.image}/usr/lib/pkgconfig"}
        self.assertEqual(output_of("pkg-config", "--print-requires", PACKAGE, **place).splitlines(),
                         [f"Qt{QT}Core >= {version}", f"Qt{QT}DBus >= {version}"])
        self.assertEqual(output_of("pkg-config", "--print-requires-private", PACKAGE, **place).splitlines(),
                         ["libcjson >= 1.7.13"])
        self.assertEqual(output_of("pkg-config", "--modversion", PACKAGE, **place).strip(), project_version())

    def test_pkgConfig_inASysroot_namesItOnce(self):
        self.install("/usr", f"-DCMAKE_INSTALL_LIBDIR=lib/{TRIPLET}")
        libraries = f"{self.image}/usr/lib/{TRIPLET}"
        words = output_of("pkg-config", "--cflags", "--libs", PACKAGE, PKG_CONFIG_SYSROOT_DIR=self.image,
                          PKG_CONFIG_PATH=f"{libraries}/pkgconfig")
        words = [self.plain(word) for word in shlex.split(words)]
        self.assertIn(f"-I{self.image}/usr/include/{PACKAGE}", words)
        self.assertIn(f"-L{libraries}", words)

    def test_findPackage_takesTheSameMajorVersionAndNoLaterOne(self):
        self.install("/opt/x")
        major, minor, patch = map(int, project_version().split("."))
        taken = [f"{major}", f"{major}.{minor}", f"{major}.{minor}.{patch}"]
        refused = [f"{major - 1}.9", f"{major}.{minor}.{patch + 1}", f"{major}.{minor + 1}", f"{major + 1}.0"]
        project = os.path.join(self.stage, "wanting")
        os.mkdir(project)
        with open(os.path.join(project, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write("cmake_minimum_required(VERSION 3.16)\nproject(wanting LANGUAGES CXX)\n"
                       f"foreach(version {' '.join(taken + refused)})\n"
                       "find_package(${PACKAGE} ${version} QUIET)\n"
                       "if(${PACKAGE}_FOUND)\nmessage(STATUS \"takes ${version}\")\nendif()\n"
                       "unset(${PACKAGE}_DIR CACHE)\nendforeach()\n")
        said = output_of("cmake", "-S", project, "-B", os.path.join(self.stage, "wanting-build"), "-G", "Ninja",
                         f"-DPACKAGE={PACKAGE}", f"-DCMAKE_PREFIX_PATH={self.image}/opt/x")
        self.assertEqual(re.findall(r"takes (.*)", said), taken)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
