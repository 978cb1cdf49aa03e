# SPDX-License-Identifier: MIT
"""What the interoperability tests share: a private bus, a mocked service on it, and a client of the library."""

import ctypes
import os
import queue
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

try:
    import dbus
    import dbusmock
except ImportError as error:
    sys.exit(f"the Python packages dbus and dbusmock are needed (python3-dbus, python3-dbusmock): {error}")

SERVICE = "com.quorvantel.service.AudioManagement"
MOCK = "com.quorvantel.service.Mock"
INTERFACE = "com.quorvantel.ServiceProvider"
HMI_PATH = "/com/kiv/service/AudioManagement/HmiMode"
APP_PATH = "/com/kiv/service/AudioManagement/AudioApplication"
CLIENT_NAME = "com.quorvantel.audioclient.interop"
CLIENT_PATH = "/com/quorvantel/audioclient/interop/ServiceProviderClient"
OPENING_HMI = '{"busName":"%s","objectPath":"%s"}' % (CLIENT_NAME, CLIENT_PATH)
OPENING_APP = '{"busName":"%s","destination":"front","objectPath":"%s"}' % (CLIENT_NAME, CLIENT_PATH)
PATIENCE = 30  # seconds that anything may take

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={directory}/bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


LIBC = ctypes.CDLL(None, use_errno=True)
PR_SET_PDEATHSIG = 1


def end_with_parent():
    """Run in a child process: it must not outlive a test that crashes."""
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


def require_tool(name):
    """The path of a program, without which the tests fail."""
    path = shutil.which(name)
    if path is None:
        raise AssertionError(f"the program {name} is needed for this test and is not installed")
    return path


class Process:
    """A child process whose output is read line by line, and which never outlives the test."""

    def __init__(self, command, environment=None, errors=None):
        self._process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, stderr=errors, text=True,
                                         preexec_fn=end_with_parent)
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._process.stdout:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def line(self):
        """The next line of output."""
        try:
            line = self._lines.get(timeout=PATIENCE)
        except queue.Empty:
            raise AssertionError(f"{self._process.args} said nothing for {PATIENCE} s") from None
        if line is None:
            raise AssertionError(f"{self._process.args} ended, with {self._process.wait(PATIENCE)}")
        return line

    def lines(self, count):
        return [self.line() for _ in range(count)]

    def send(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()

    def end_input(self):
        """Closes the standard input; the rest of the output and the exit code."""
        self._process.stdin.close()
        code = self._process.wait(PATIENCE)
        self._reader.join(PATIENCE)
        rest = []
        while not self._lines.empty():
            rest.append(self._lines.get())
        return rest[:-1], code

    def is_running(self):
        return self._process.poll() is None

    def signal(self, number):
        self._process.send_signal(number)

    def end(self):
        """Ends the process if it is running, or stopped; its exit code."""
        if self.is_running():
            self._process.terminate()
            self.signal(signal.SIGCONT)
            try:
                self._process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait(PATIENCE)
        self._reader.join(PATIENCE)
        self._process.stdin.close()
        self._process.stdout.close()
        return self._process.returncode


class InteropTest(unittest.TestCase):
    """Each test has a bus of its own, on which a mocked service and a client can be started."""

    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="kiv-interop-")
        self.addCleanup(directory.cleanup)
        configuration = os.path.join(directory.name, "bus.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(BUS_CONFIGURATION.format(directory=directory.name))
        daemon = self._run([require_tool("dbus-daemon"), f"--config-file={configuration}", "--nofork",
                            "--nopidfile", "--print-address"])
        self.address = daemon.line()
        self.environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=self.address,
                                DBUS_SESSION_BUS_ADDRESS=self.address)
        self.bus = dbus.bus.BusConnection(self.address)
        self.addCleanup(self.bus.close)

    def _run(self, command, environment=None, errors=None):
        process = Process(command, environment, errors)
        self.addCleanup(process.end)
        return process

    def wait_until(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"waited {PATIENCE} s for {what}")
            time.sleep(0.01)

    def start_client(self, role):
        """A client of the library, which starts at once."""
        program = os.environ.get("KIV_INTEROP_CLIENT")
        self.assertIsNotNone(program, "KIV_INTEROP_CLIENT must name the program interop-client")
        return self._run([program, role], self.environment, subprocess.DEVNULL)

    def start_service(self, answers, path, appears=True):
        """A mocked service that answers requests, by method name, at one of its objects; its control interface."""
        # Under another name until it can answer: a mock has its name before it has its methods.
        self._run([sys.executable, "-m", "dbusmock", "--system", MOCK, path, INTERFACE], self.environment,
                  subprocess.DEVNULL)
        self.wait_until(lambda: self.bus.name_has_owner(MOCK), "the mocked service")
        service = dbus.Interface(self.bus.get_object(MOCK, path, introspect=False), dbusmock.MOCK_IFACE)
        self._retry(lambda: service.AddMethod(INTERFACE, "Request", "ss", "s",
                                              f"ret = {answers!r}.get(str(args[0]), '{{}}')"))
        service.AddMethod(MOCK, "Appear", "", "", f"self.bus_name.get_bus().request_name({SERVICE!r})")
        if appears:
            self.appear(path)
        return service

    def appear(self, path):
        """Gives a mocked service that was started the service's name."""
        dbus.Interface(self.bus.get_object(MOCK, path, introspect=False), MOCK).Appear()
        self.wait_until(lambda: self.bus.name_has_owner(SERVICE), "the service's name")

    def _retry(self, action):
        """A name is on the bus a moment before its objects are."""
        deadline = time.monotonic() + PATIENCE
        while True:
            try:
                return action()
            except dbus.exceptions.DBusException:
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.01)

    def requests_of(self, service):
        """Every request that the mock has logged: pairs of method name and arguments, in order."""
        calls = [call for call in service.GetCalls() if str(call[1]) != "Appear"]
        self.assertEqual({str(call[1]) for call in calls} - {"Request"}, set())
        return [tuple(str(argument) for argument in call[2]) for call in calls]

    def call_client(self, method, arguments):
        """A call of the client's own object, as the service makes it."""
        client = dbus.Interface(self.bus.get_object(CLIENT_NAME, CLIENT_PATH, introspect=False), INTERFACE)
        return str(client.Request(method, arguments, signature="ss", timeout=PATIENCE))
