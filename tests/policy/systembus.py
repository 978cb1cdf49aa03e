# SPDX-License-Identifier: MIT
"""A bus daemon with the configuration of the machine's system bus, and accounts that may do this and that on it."""

import os
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest
import xml.etree.ElementTree as xml

from rawbus import PATIENCE, Account, Connection

SYSTEM_CONFIGURATION = "/usr/share/dbus-1/system.conf"
POLICY = os.environ["KIV_BUS_POLICY"]
DOCTYPE = ('<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN" '
           '"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">\n')
NEEDS_ROOT = 77  # what CTest takes for "not run"

# What the tests ask of a machine's own system bus, and what would tie the copy to it.
NOT_COPIED = ("type", "fork", "syslog", "pidfile", "listen", "include", "includedir", "servicehelper",
              "standard_system_servicedirs")

# For the tests alone: the simulator is steered over the bus.
STEERING = """
  <policy user="root"><allow send_destination="com.kiv.AudioSimulator"/></policy>
  <policy user="{service}"><allow own="com.kiv.AudioSimulator"/></policy>
"""

# A policy of another package, which lets programs be called that may be clients of the service, too.
NEIGHBOUR = """
  <policy context="default"><allow send_interface="com.example.Agent"/></policy>
"""

# No policy at all: what a bus is like on which everybody may do everything.
EVERYTHING = """
  <policy context="default">
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_type="signal"/>
  </policy>
"""


def become_root():
    """Starts the test again in a user namespace when it is not root; ends it when that is impossible."""
    if os.geteuid() == 0:
        return
    command = ["unshare", "--map-root-user", "--map-auto", "--"]
    reason = "unshare is not installed"
    if shutil.which(command[0]):
        attempt = subprocess.run([*command, "true"], capture_output=True, text=True, check=False)
        if attempt.returncode == 0:
            os.execvp(command[0], [*command, sys.executable, *sys.orig_argv[1:]])
        reason = attempt.stderr.strip()
    print("not run: needs root, or a user namespace with the accounts of this machine (newuidmap of the package "
          f"uidmap, and ranges in /etc/subuid and /etc/subgid): {reason}", file=sys.stderr)
    sys.exit(NEEDS_ROOT)


def accounts():
    """Who takes part. These are accounts that every Debian system has; nothing is added to the machine."""
    service = os.environ["KIV_SERVICE_ACCOUNT"]
    group = os.environ["KIV_CLIENT_GROUP"]
    return {"service": Account(service), "player": Account("games", group), "panel": Account("mail", group),
            "intruder": Account("irc"), "root": Account("root")}


def beside_the_neighbour(tree):
    """A policy as text, behind that of another package."""
    return NEIGHBOUR + "".join(xml.tostring(element, encoding="unicode") for element in tree)


def policy_tree():
    """The shipped policy, for the accounts above: its <policy> elements."""
    return xml.parse(POLICY).getroot()


def processor_time(process):
    """The seconds that a process has had of the processors until now."""
    with open(f"/proc/{process.pid}/stat", encoding="utf-8") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Daemon:
    """A bus daemon with the policy of the machine's system bus, to which another policy is added."""

    def __init__(self, directory, addition):
        self.path = os.path.join(directory, "bus")
        self.address = f"unix:path={self.path}"
        self._errors = os.path.join(directory, "daemon.log")
        configuration = os.path.join(directory, "system.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(self._configuration(addition))
        with open(self._errors, "w", encoding="utf-8") as errors:
            self._process = subprocess.Popen(
                ["dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile", "--nosyslog",
                 "--print-address"], stdout=subprocess.PIPE, stderr=errors, text=True)
        if not self._process.stdout.readline():
            raise AssertionError(f"dbus-daemon has not started: {self.log()}")

    def _configuration(self, addition):
        root = xml.parse(SYSTEM_CONFIGURATION).getroot()
        for element in [element for element in root if element.tag in NOT_COPIED]:
            root.remove(element)
        for tag, value in (("type", "system"), ("listen", self.address)):
            xml.SubElement(root, tag).text = value
        root.extend(xml.fromstring(f"<busconfig>{addition}</busconfig>"))
        return DOCTYPE + xml.tostring(root, encoding="unicode")

    def log(self):
        """What the daemon has complained about."""
        with open(self._errors, encoding="utf-8") as file:
            return file.read()

    def processor_time(self):
        return processor_time(self._process)

    def stop(self):
        self._process.terminate()
        self._process.wait(PATIENCE)
        self._process.stdout.close()


class Program:
    """A program of the build, run as an account. Its output is read line by line, its errors are kept."""

    def __init__(self, account, command, environment):
        self._process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE, text=True, cwd="/", **account.process_options())
        self._lines, self._errors = queue.Queue(), queue.Queue()
        self._readers = [threading.Thread(target=self._read, args=arguments, daemon=True)
                         for arguments in ((self._process.stdout, self._lines), (self._process.stderr, self._errors))]
        for reader in self._readers:
            reader.start()

    @staticmethod
    def _read(stream, lines):
        for line in stream:
            lines.put(line.rstrip("\n"))
        lines.put(None)

    def line(self):
        """The next line of output."""
        line = self._lines.get(timeout=PATIENCE)
        if line is None:
            raise AssertionError(f"{self._process.args} has ended: {self.errors()}")
        return line

    def errors(self):
        """The lines of standard error that have come since the last time."""
        lines = []
        while not self._errors.empty():
            lines.append(self._errors.get())
        return [line for line in lines if line is not None]

    def processor_time(self):
        return processor_time(self._process)

    def send(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()

    def end(self):
        """Ends it; all lines that it has printed on standard error since they were last asked for."""
        self._process.terminate()
        self._process.wait(PATIENCE)
        for reader in self._readers:
            reader.join(PATIENCE)
        for stream in (self._process.stdin, self._process.stdout, self._process.stderr):
            stream.close()
        return self.errors()


class SystemBusTest(unittest.TestCase):
    """Tests on a bus with an addition to the system bus's policy; ADDITION None stands for the shipped policy."""

    maxDiff = None
    ADDITION = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="kivtest-")
        self.addCleanup(shutil.rmtree, self.directory)
        os.chmod(self.directory, 0o755)
        self.accounts = accounts()
        self.daemon = self.start_daemon(self.policy())

    def policy(self):
        if self.ADDITION is not None:
            return self.ADDITION
        return beside_the_neighbour(policy_tree()) + STEERING.format(service=self.accounts["service"].name)

    def start_daemon(self, addition):
        """A bus daemon; a second one takes the place of the first."""
        daemon = Daemon(self.directory, addition)
        self.addCleanup(daemon.stop)
        return daemon

    def connect(self, who):
        connection = Connection(self.accounts[who], self.daemon.path)
        self.addCleanup(connection.close)
        return connection

    def start(self, who, variable, *arguments, **environment):
        """Starts a program of the build, named by an environment variable, as an account."""
        program = Program(self.accounts[who], [self._copy(variable), *arguments], self._environment(environment))
        self.addCleanup(program.end)
        return program

    def run_to_end(self, who, variable, *arguments):
        """Exit code, output and errors of a program of the build."""
        result = subprocess.run([self._copy(variable), *arguments], env=self._environment({}), capture_output=True,
                                text=True, cwd="/", timeout=PATIENCE, check=False,
                                **self.accounts[who].process_options())
        return result.returncode, result.stdout, result.stderr

    def _environment(self, more):
        return {"PATH": os.environ["PATH"], "HOME": "/nonexistent", "LC_ALL": "C.UTF-8",
                "DBUS_SYSTEM_BUS_ADDRESS": self.daemon.address, "LD_LIBRARY_PATH": self.directory, **more}

    def _copy(self, variable):
        """A program where every account can reach it, which the build folder need not be."""
        library = os.path.join(self.directory, os.environ["KIV_LIBRARY_NAME"])
        if not os.path.exists(library):
            shutil.copy(os.environ["KIV_LIBRARY"], library)
        program = os.environ[variable]
        copy = os.path.join(self.directory, os.path.basename(program))
        if not os.path.exists(copy):
            shutil.copy(program, copy)
        return copy
