# SPDX-License-Identifier: MIT
"""How the policy is configured and installed."""

import os
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as xml

PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(policy LANGUAGES NONE)
set(CMAKE_INSTALL_DATADIR share)
add_subdirectory("{source}/dbus" dbus)
"""
INSTALLED = "share/dbus-1/system.d/kiv-qtdbus-lib.conf"


class InstallTest(unittest.TestCase):
    """The folder dbus/ as a project of its own."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="kivtest-")
        self.addCleanup(directory.cleanup)
        self.source, self.build, self.prefix = (os.path.join(directory.name, name) for name in ("s", "b", "p"))
        os.mkdir(self.source)
        with open(os.path.join(self.source, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write(PROJECT.format(source=os.environ["KIV_SOURCE"]))

    def configure(self, *options):
        return subprocess.run(["cmake", "-G", os.environ["KIV_GENERATOR"], "-S", self.source, "-B", self.build,
                               *options], capture_output=True, text=True, check=False)

    def install(self, *options):
        """All files that are installed."""
        result = self.configure(*options)
        self.assertEqual(result.returncode, 0, result.stderr)
        subprocess.run(["cmake", "--install", self.build, "--prefix", self.prefix], capture_output=True, check=True)
        return sorted(os.path.relpath(os.path.join(folder, name), self.prefix)
                      for folder, _, names in os.walk(self.prefix) for name in names)

    def whom(self):
        root = xml.parse(os.path.join(self.prefix, INSTALLED)).getroot()
        return [policy.attrib for policy in root]

    def test_policy_isNotInstalledUnlessAskedFor(self):
        self.assertEqual(self.install(), [])

    def test_policy_isInstalledWithTheDefaultAccounts(self):
        self.assertEqual(self.install("-DKIV_INSTALL_BUS_POLICY=ON"), [INSTALLED])
        self.assertEqual(self.whom(), [{"context": "default"}, {"user": "kiv-audio"}, {"group": "kiv-audio-clients"}])

    def test_policy_isInstalledForTheAccountsThatAreGiven(self):
        self.install("-DKIV_INSTALL_BUS_POLICY=ON", "-DKIV_SERVICE_ACCOUNT=root", "-DKIV_CLIENT_GROUP=audio")
        self.assertEqual(self.whom(), [{"context": "default"}, {"user": "root"}, {"group": "audio"}])

    def test_nameThatIsNone_isAnErrorThatNamesTheVariable(self):
        variables = ("KIV_SERVICE_ACCOUNT", "KIV_CLIENT_GROUP")
        for variable, other in (variables, reversed(variables)):
            for value in ("", "*", 'a"b', "1000", "a b"):
                with self.subTest(variable, value=value):
                    result = self.configure(f"-D{variable}={value}", f"-D{other}=audio")
                    self.assertNotEqual(result.returncode, 0)
                    self.assertIn(f"{variable} must be the name of an account or group",
                                  " ".join(result.stderr.split()))


if __name__ == "__main__":
    unittest.main()
