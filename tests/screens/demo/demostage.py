# SPDX-License-Identifier: MIT
"""What the tests of the demonstration share: a screen of their own, and kiv-audio-demo on it."""

import hashlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

try:
    import dbus
except ImportError as error:
    sys.exit(f"the Python package dbus is needed (python3-dbus): {error}")

PROGRAMS = os.environ["KIV_DEMO_PROGRAMS"]
DEMO = os.environ["KIV_DEMO"]
PATIENCE = 30  # seconds that anything may take
ENDING = 2  # seconds, for short-lived children of a program that was killed
MOST_LOOKS = 8
SIMULATOR = "com.kiv.AudioSimulator"
WIDTH, HEIGHT = 1312, 1048  # of the screen
GAP = 16  # between windows
DESK = "#5b6875"
CONTROL = "simulator-control"
NAMES = ("hmi-panel", "media-player", CONTROL)


def require_tool(name):
    """The path of a program, without which the tests fail."""
    path = shutil.which(name)
    if path is None:
        raise AssertionError(f"the program {name} is needed for this test and is not installed")
    return path


def output_of(tool, *arguments, **options):
    """What a tool prints; it must succeed in time."""
    return subprocess.run([require_tool(tool), *arguments], check=True, stdout=subprocess.PIPE, text=True,
                          timeout=PATIENCE, **options).stdout


def processes_with(setting):
    """The processes in whose environment a setting was when they were started: ids and command lines."""
    found = {}
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if setting.encode() in (folder / "environ").read_bytes().split(b"\0"):
                found[int(folder.name)] = (folder / "cmdline").read_bytes().replace(b"\0", b" ").decode()
        except OSError:  # it has ended, or is another user's
            continue
    return {process: line for process, line in found.items() if line}


class DemoTest(unittest.TestCase):
    """Each test has a folder for all temporary files of the demonstration, and sees all processes that it starts."""

    maxDiff = None
    launcher = DEMO

    def setUp(self):
        self._folder = tempfile.TemporaryDirectory(prefix="kiv-demo-")
        self.addCleanup(self._folder.cleanup)
        self.temporary = self.make_folder("tmp")
        self.mark = f"KIV_DEMO_MARK={self._folder.name}"
        name, value = self.mark.split("=")
        self.environment = {**os.environ, name: value, "TMPDIR": self.temporary, "HOME": self.make_folder("home"),
                            "XDG_RUNTIME_DIR": self.make_folder("runtime"), "KIV_DEMO_PROGRAMS": PROGRAMS,
                            "DBUS_SESSION_BUS_ADDRESS": "disabled:"}  # else Qt starts one that stays
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SYSTEM_BUS_ADDRESS"):
            self.environment.pop(name, None)

    def make_folder(self, name):
        """A folder that goes with the test."""
        path = os.path.join(self._folder.name, name)
        os.mkdir(path, mode=0o700)
        return path

    def start(self, *arguments):
        """Starts the demonstration."""
        demo = Demo(self, arguments)
        self.addCleanup(demo.end)
        return demo

    def wait_until(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"waited {PATIENCE} s for {what}")
            time.sleep(0.02)

    def assert_nothing_is_left(self):
        """No process of the demonstration, and none of its temporary files; what is just ending may do so."""
        deadline = time.monotonic() + ENDING
        while processes_with(self.mark) and time.monotonic() < deadline:
            time.sleep(0.02)
        self.assertEqual(processes_with(self.mark), {})
        self.assertEqual(os.listdir(self.temporary), [])


class ScreenTest(DemoTest):
    """Each test has a screen of its own, too, without a window manager."""

    def setUp(self):
        super().setUp()
        self.environment.update(QT_QPA_PLATFORM="xcb", DISPLAY=self._start_screen())
        output_of("xsetroot", "-solid", DESK, env=self.environment)

    def _start_screen(self):
        reader, writer = os.pipe()
        server = subprocess.Popen([require_tool("Xvfb"), "-displayfd", str(writer), "-nolisten", "tcp", "-noreset",
                                   "-screen", "0", f"{WIDTH}x{HEIGHT}x24"], pass_fds=[writer], stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait, PATIENCE)
        self.addCleanup(server.terminate)
        os.close(writer)
        with os.fdopen(reader) as display:
            return f":{display.readline().strip()}"

    def xdotool(self, *arguments):
        return output_of("xdotool", *(str(argument) for argument in arguments), env=self.environment).strip()

    def window_of(self, program):
        """The window of a program, as soon as it can be seen."""
        return self.xdotool("search", "--sync", "--onlyvisible", "--classname", f"^{re.escape(program)}$").split()[0]

    def size_of(self, window):
        """Width and height of a window."""
        geometry = dict(line.split("=") for line in self.xdotool("getwindowgeometry", "--shell", window).split())
        return int(geometry["WIDTH"]), int(geometry["HEIGHT"])

    def arrange(self, windows):
        """Puts the first window at the top, and the others beside each other below it, all of them in the middle."""
        top, *below = windows
        y = GAP
        for row in ([top], below):
            sizes = [self.size_of(window) for window in row]
            x = (WIDTH - sum(width + GAP for width, _ in sizes) + GAP) // 2
            for window, (width, _) in zip(row, sizes):
                self.xdotool("windowmove", "--sync", window, x, y)
                x += width + GAP
            y += max(height for _, height in sizes) + GAP

    def look_of(self, window):
        """What a window shows, as something that can be compared."""
        return hashlib.sha256(subprocess.run([require_tool("import"), "-window", window, "rgb:-"], check=True,
                                             env=self.environment, stdout=subprocess.PIPE,
                                             timeout=PATIENCE).stdout).hexdigest()

    def wait_for_rest(self):
        """Waits until nothing moves on the screen, or something seems to move always."""
        before, now = None, self.look_of("root")
        for _ in range(MOST_LOOKS):
            if before == now:
                return
            before, now = now, self.look_of("root")

    def keep_picture(self, name):
        """Keeps what the whole screen shows: in the folder that KIV_PICTURES names, else in "pictures"."""
        self.wait_for_rest()
        folder = pathlib.Path(os.environ.get("KIV_PICTURES", "pictures"))
        folder.mkdir(parents=True, exist_ok=True)
        output_of("import", "-window", "root", str(folder / f"{name}.png"), env=self.environment)


class Demo:
    """kiv-audio-demo, and the simulator's control interface on the bus that it has made."""

    def __init__(self, test, arguments):
        self._test = test
        # Files, which can be read while something is left that could still write to them.
        self._output, self._errors = tempfile.TemporaryFile("w+"), tempfile.TemporaryFile("w+")
        self._process = subprocess.Popen([test.launcher, *arguments], env=test.environment, stdin=subprocess.DEVNULL,
                                         stdout=self._output, stderr=self._errors, text=True)
        self._bus = None

    def end(self):
        """Kills it if it still runs, and all that it may have left."""
        for process in processes_with(self._test.mark):
            os.kill(process, signal.SIGKILL)
        self._process.wait(PATIENCE)
        self._output.close()
        self._errors.close()

    def result(self):
        """Waits for the end: exit code, what was printed, and the complaints of kiv-audio-demo and the simulator."""
        code = self._process.wait(PATIENCE)
        self._output.seek(0)
        return code, self._output.read(), self.complaints()

    def complaints(self):
        """What kiv-audio-demo and the simulator have complained about so far."""
        self._errors.seek(0)
        return re.findall(r"^kiv-audio-(?:demo|simulator): .*$", self._errors.read(), re.MULTILINE)

    def is_running(self):
        return self._process.poll() is None

    def signal(self, number):
        self._process.send_signal(number)

    def bus(self):
        """The demonstration's own bus."""
        if self._bus is None:
            process = self._test.xdotool("getwindowpid", self._test.window_of(CONTROL))
            environment = pathlib.Path(f"/proc/{process}/environ").read_bytes().decode().split("\0")
            address = next(line for line in environment if line.startswith("DBUS_SYSTEM_BUS_ADDRESS="))
            self._bus = dbus.bus.BusConnection(address.split("=", 1)[1])
            self._test.addCleanup(self._bus.close)
        return self._bus

    def control(self):
        """The simulator's control interface."""
        return dbus.Interface(self.bus().get_object(SIMULATOR, "/com/kiv/AudioSimulator", introspect=False),
                              f"{SIMULATOR}.Control")

    def service_process(self):
        """The process of the simulated service."""
        daemon = self.bus().get_object("org.freedesktop.DBus", "/org/freedesktop/DBus", introspect=False)
        return int(daemon.GetConnectionUnixProcessID(SIMULATOR, dbus_interface="org.freedesktop.DBus"))
