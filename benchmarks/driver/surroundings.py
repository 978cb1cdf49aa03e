# SPDX-License-Identifier: MIT
"""What the benchmark programs run in: a bus daemon and a service of their own, and fixed processor cores."""

import contextlib
import json
import os
import subprocess
import tempfile

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">100000000</limit>
  <limit name="max_replies_per_connection">1000000</limit>
</busconfig>
"""


class ProgramFailed(Exception):
    """A benchmark program failed or printed nonsense."""


def _cores():
    """The core of the measured process, and that of the daemon and the service; the same if there is only one."""
    cores = sorted(os.sched_getaffinity(0))
    return cores[0], cores[-1]


CLIENT_CORE, SERVICE_CORE = _cores()

os.environ["QT_LOGGING_RULES"] = "default.debug=false;default.warning=false"


def _pin(core):
    return lambda: os.sched_setaffinity(0, {core})


@contextlib.contextmanager
def this_process_on(core):
    """Pins this process, and those that it starts, to a core meanwhile."""
    before = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {core})
    try:
        yield
    finally:
        os.sched_setaffinity(0, before)


def run(command, timeout=600):
    """Runs a measured program on the client's core; what it prints."""
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, timeout=timeout, check=False, preexec_fn=_pin(CLIENT_CORE))
    if done.returncode != 0:
        raise ProgramFailed(f"{command[0]} ended with {done.returncode}: {done.stderr.strip()[-2000:]}")
    return done.stdout


def run_json(command, timeout=600):
    """Likewise, for a program that prints JSON."""
    text = run(command, timeout)
    try:
        return json.loads(text)
    except ValueError as error:
        raise ProgramFailed(f"{command[0]} has not printed JSON: {error}") from error


@contextlib.contextmanager
def _process(command, **options):
    process = subprocess.Popen([str(part) for part in command], stdout=subprocess.PIPE, text=True,
                               preexec_fn=_pin(SERVICE_CORE), **options)
    try:
        yield process
    finally:
        process.terminate()
        process.wait(timeout=30)
        process.stdout.close()


def bus_with_service(programs):
    """A bus with raised limits and the echo service, for programs that run() starts meanwhile."""
    return bus_with([programs / "kiv-benchmark-service"])


@contextlib.contextmanager
def bus_with(command):
    """Likewise with a service that prints "ready" when it is."""
    with tempfile.TemporaryDirectory(prefix="kiv-benchmark-") as folder:
        path = os.path.join(folder, "bus.conf")
        with open(path, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(folder=folder))
        errors = os.path.join(folder, "errors")
        daemon = ["dbus-daemon", f"--config-file={path}", "--nofork", "--nopidfile", "--print-address"]
        with open(errors, "w", encoding="utf-8") as file, _process(daemon, stderr=file) as bus:
            address = bus.stdout.readline().strip()
            if not address:
                with open(errors, encoding="utf-8") as written:
                    raise ProgramFailed(f"dbus-daemon did not start: {written.read()}")
            os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = address
            with _process(command) as service:
                if service.stdout.readline() != "ready\n":
                    raise ProgramFailed(f"{command[0]} did not start")
                yield
