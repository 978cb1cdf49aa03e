# SPDX-License-Identifier: MIT
"""What the tests of the simulator share: its files, their schemas, and the program on a private bus."""

import json
import os
import pathlib
import subprocess
import sys

import dbus

try:
    import jsonschema
except ImportError as error:
    sys.exit(f"the Python package jsonschema is needed (python3-jsonschema): {error}")

from kivinterop import PATIENCE, InteropTest

PROGRAM = os.environ["KIV_SIMULATOR"]
DATA = pathlib.Path(os.environ["KIV_SIMULATOR_DATA"])
HERE = pathlib.Path(__file__).parent
CONTROL_NAME = "com.kiv.AudioSimulator"
CONTROL_PATH = "/com/kiv/AudioSimulator"
CONTROL_INTERFACE = "com.kiv.AudioSimulator.Control"
NO_BUS = "unix:path=/nonexistent/kiv-test-bus"
EXIT_USAGE = 2
EXIT_NO_BUS = 3


def library():
    """The scenario files of the library, by name."""
    return {path.stem: path for path in sorted((DATA / "scenarios").glob("*.json"))}


def schema(name):
    """A schema as JSON."""
    with open(DATA / "schemas" / f"{name}.schema.json", encoding="utf-8") as file:
        return json.load(file)


def validator(name):
    """What checks a document against a schema, which is itself checked first."""
    document = schema(name)
    jsonschema.Draft202012Validator.check_schema(document)
    return jsonschema.Draft202012Validator(document)


def run_without_bus(*arguments):
    """Runs the program where there is no bus: it ends with NO_BUS when nothing else is wrong."""
    return subprocess.run([PROGRAM, "--address", NO_BUS, *arguments], capture_output=True, text=True,
                          timeout=PATIENCE, check=False)


class SimulatorTest(InteropTest):
    """Each test has a bus of its own, on which simulators can be started, one after the other."""

    def start(self, *arguments):
        """Starts the program; it is ready when this returns."""
        process = self._run([PROGRAM, "--address", self.address, *arguments], self.environment)
        self.assertEqual(process.line(), "ready")
        return process

    def control(self):
        """The control interface of the program that runs."""
        # Without introspection, which would need an answer first.
        return dbus.Interface(self.bus.get_object(CONTROL_NAME, CONTROL_PATH, introspect=False),
                              CONTROL_INTERFACE)
