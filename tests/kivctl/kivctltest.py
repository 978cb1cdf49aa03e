# SPDX-License-Identifier: MIT
"""What the Python tests of kivctl share: a private bus with the simulator on it."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "interop"))
import kivinterop  # noqa: E402

SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
PROGRAM = os.environ.get("KIV_CTL")
SIMULATOR = os.environ.get("KIV_SIMULATOR")


class KivctlTest(kivinterop.InteropTest):
    """Each test has a bus of its own, with the simulated service on it when the test starts it."""

    def setUp(self):
        for name in ("KIV_CTL", "KIV_SIMULATOR"):
            self.assertIn(name, os.environ, f"{name} must name the program")
        super().setUp()

    def start_simulator(self, *options):
        simulator = self._run([SIMULATOR, *options], self.environment)
        self.assertEqual(simulator.line(), "ready")
        return simulator

    def start_kivctl(self, *arguments):
        return self._run([PROGRAM, *arguments], self.environment, subprocess.DEVNULL)

    def run_kivctl(self, *arguments):
        """Its exit code, and what it prints on standard output and on standard error."""
        result = subprocess.run([PROGRAM, *arguments], env=self.environment, capture_output=True, text=True,
                                timeout=kivinterop.PATIENCE, check=False)
        return result.returncode, result.stdout, result.stderr
