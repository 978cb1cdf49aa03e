# SPDX-License-Identifier: MIT
"""What the tests of kivctl's status and trace share: programs on a private bus, records checked by the schema."""

import json
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import threading

import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

from kivinterop import BUS_CONFIGURATION, PATIENCE, SERVICE, InteropTest, Process, require_tool

import capturefile

try:
    import jsonschema
except ImportError as error:
    sys.exit(f"the Python package jsonschema is needed (python3-jsonschema): {error}")


def needed(variable):
    value = os.environ.get(variable)
    if value is None:
        sys.exit(f"{variable} must be set; run the tests with ctest")
    return value


PROGRAM = needed("KIV_CTL")
SIMULATOR = needed("KIV_SIMULATOR_PROGRAM")
CLIENT = needed("KIV_INTEROP_CLIENT")
with open(needed("KIV_TRACE_SCHEMA"), encoding="utf-8") as schema_file:
    SCHEMA = jsonschema.Draft7Validator(json.load(schema_file))


def command(name, form, address, timeout, *capture):
    """The command line of kivctl's status or trace; the timeout in milliseconds, 0 for none."""
    options = ["--json"] if form == "json" else []
    if address:
        options += ["--address", address]
    if int(timeout) > 0:
        options += ["--timeout", str(int(timeout) / 1000)]
    return [PROGRAM, name, *options, *capture]


def record_of(line):
    """The record of a line of JSON, which must be valid by the schema."""
    record = json.loads(line)
    SCHEMA.validate(record)
    return record


def without_times(line):
    """A line without what differs from run to run."""
    return re.sub(r"\b\d+ us", "N us", re.sub(r"^\d\d:\d\d:\d\d\.\d{6}", "TIME", line))


class Program(Process):
    """A process that takes signals and whose exit code is asked for."""

    def __init__(self, command, environment=None):
        self._errors = tempfile.TemporaryFile("w+")
        super().__init__(command, environment, self._errors)

    def pid(self):
        return self._process.pid

    def errors(self):
        self._errors.seek(0)
        return self._errors.read()

    def end(self):
        super().end()
        self._errors.close()


class RawConnection:
    """A connection with a bus that sends messages as they are."""

    def __init__(self, address):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(PATIENCE)
        self._socket.connect(re.search("path=([^,]*)", address).group(1))
        self._socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        while not self._socket.recv(4096).endswith(b"\r\n"):
            pass
        self._socket.sendall(b"BEGIN\r\n")
        self.send(capturefile.message(capturefile.CALL, 1, path="/org/freedesktop/DBus", member="Hello",
                                      interface="org.freedesktop.DBus", destination="org.freedesktop.DBus"))
        self.name = re.search(rb":1\.\d+", self._socket.recv(4096)).group().decode()

    def send(self, data):
        self._socket.sendall(data)

    def close(self):
        self._socket.close()


class BlindService:
    """A service that refuses introspection, and answers everything else with a text, or with nothing."""

    def __init__(self, address, answers_text=True):
        self._requests = []
        self._answers_text = answers_text
        self._bus = dbus.bus.BusConnection(address, mainloop=DBusGMainLoop())
        self._bus.add_message_filter(self._handle)
        self._bus.request_name(SERVICE)
        self._loop = GLib.MainLoop()
        self._thread = threading.Thread(target=self._loop.run, daemon=True)
        self._thread.start()

    def _handle(self, connection, message):
        if not isinstance(message, dbus.lowlevel.MethodCallMessage):
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        if message.get_member() == "Introspect":
            refusal = dbus.lowlevel.ErrorMessage(message, "org.freedesktop.DBus.Error.AccessDenied", "no")
            connection.send_message(refusal)
            return dbus.lowlevel.HANDLER_RESULT_HANDLED
        if message.get_member() == "Request":
            self._requests.append((str(message.get_path()), *map(str, message.get_args_list())))
        reply = dbus.lowlevel.MethodReturnMessage(message)
        if self._answers_text:
            reply.append('{"errCode":2}', signature="s")
        connection.send_message(reply)
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def requests(self):
        return self._requests

    def close(self):
        self._loop.quit()
        self._thread.join(PATIENCE)
        self._bus.close()


class TraceTest(InteropTest):

    def setUp(self):
        super().setUp()
        directory = tempfile.TemporaryDirectory(prefix="kiv-trace-")
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def start(self, *command):
        program = Program(command, self.environment)
        self.addCleanup(program.end)
        return program

    def start_bus(self, policy="", service_directory=""):
        """Another bus, with more policy; the address and the process."""
        directory = tempfile.mkdtemp(dir=self.directory)
        configuration = os.path.join(directory, "bus.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            text = BUS_CONFIGURATION.format(directory=directory)
            file.write(text.replace("</busconfig>", policy + service_directory + "</busconfig>"))
        daemon = self.start(require_tool("dbus-daemon"), f"--config-file={configuration}", "--nofork", "--nopidfile",
                            "--print-address")
        return daemon.line(), daemon

    def start_simulator(self, address=None, *options):
        simulator = self.start(SIMULATOR, "--address", address or self.address, "--modes", "front=Radio", *options)
        self.assertEqual(simulator.line(), "ready")
        return simulator

    def start_trace(self, form="json", timeout=0, address=None):
        """A live trace that sees everything from now on; its first line is taken."""
        trace = self.start(*command("trace", form, address or self.address, timeout))
        self.first_line = trace.line()
        return trace

    def interrupted(self, trace, number=signal.SIGINT):
        """The rest of a trace's lines, after a signal has ended it properly."""
        trace.signal(number)
        lines, code = trace.end_input()
        self.assertEqual((code, trace.errors()), (128 + number, ""))
        return lines

    def run_program(self, *arguments):
        """The lines, the exit code and the errors."""
        done = subprocess.run(command(*arguments), env=self.environment, timeout=PATIENCE, capture_output=True,
                              text=True, check=False)
        return done.stdout.splitlines(), done.returncode, done.stderr

    def play_session(self, trace):
        """An application of the library opens its session, gets the focus, and leaves; the trace's twelve lines."""
        app = self.start(CLIENT, "app")
        self.assertEqual(app.line(), "state INIT_STATE_SUCCESS")
        app.send("request")
        # A reply that comes before the client watches it is told late.
        self.assertEqual(sorted(app.lines(3)), ["event RequestAudioFocusCompleted 1 true",
                                                "event ResponseToAudioFocusRequest [granted]", "request 1"])
        lines = trace.lines(9)
        # The broadcast of the service and the client's answer: either may be first.
        lines[7:9] = sorted(lines[7:9], key=lambda line: "audioFocusChangeEvent" not in line)
        self.assertEqual(app.end_input(), (["stopped"], 0))
        return lines + trace.lines(3)
