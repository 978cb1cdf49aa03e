# SPDX-License-Identifier: MIT
"""Connections to a bus as any account, message by message: nothing is checked, sorted or answered on the way."""

import os
import pwd
import grp
import socket
import sys

try:
    from gi.repository import Gio, GLib
except ImportError as error:
    sys.exit(f"the Python package gi is needed (python3-gi): {error}")

BUS = "org.freedesktop.DBus"
BUS_PATH = "/org/freedesktop/DBus"
PATIENCE = 30  # seconds that anything may take
FIXED_HEADER = 16  # bytes that tell how long a message is

CALL = Gio.DBusMessageType.METHOD_CALL
REPLY = Gio.DBusMessageType.METHOD_RETURN
ERROR = Gio.DBusMessageType.ERROR
SIGNAL = Gio.DBusMessageType.SIGNAL


class Account:
    """A user of the machine, with groups beside its own."""

    def __init__(self, user, *groups):
        entry = pwd.getpwnam(user)
        self.name, self.uid, self.gid = user, entry.pw_uid, entry.pw_gid
        self.groups = [grp.getgrnam(group).gr_gid for group in groups]

    def process_options(self):
        """What makes subprocess run a program as this account."""
        return {"user": self.uid, "group": self.gid, "extra_groups": self.groups}

    def connect(self, path):
        """A socket that is connected to the bus: the bus takes the account from the moment of connecting."""
        ours, theirs = socket.socketpair()
        child = os.fork()
        if child == 0:
            status = 1
            try:
                self._become()
                bus = socket.socket(socket.AF_UNIX)
                bus.connect(path)
                socket.send_fds(theirs, [b"x"], [bus.fileno()])
                status = 0
            finally:
                os._exit(status)
        theirs.close()
        with ours:
            _, descriptors, _, _ = socket.recv_fds(ours, 1, 1)
        os.waitpid(child, 0)
        if not descriptors:
            raise AssertionError(f"the account {self.name} cannot connect to {path}")
        return socket.socket(fileno=descriptors[0])

    def _become(self):
        os.setgroups(self.groups)
        os.setresgid(self.gid, self.gid, self.gid)
        os.setresuid(self.uid, self.uid, self.uid)


def texts(*values):
    return GLib.Variant("(" + "s" * len(values) + ")", values)


def call(destination, path, interface, member, body=None):
    message = Gio.DBusMessage.new_method_call(destination, path, interface, member)
    if body is not None:
        message.set_body(body)
    return message


def signal(destination, path, interface, member, body):
    message = Gio.DBusMessage.new_signal(path, interface, member)
    if destination is not None:
        message.set_destination(destination)
    message.set_body(body)
    return message


class Connection:
    """A connection to a bus. What comes in is read only when somebody asks for it."""

    def __init__(self, account, path):
        self._socket = account.connect(path)
        self._socket.settimeout(PATIENCE)
        self._buffer = b""
        self._serial = 0
        self._inbox = []
        self._authenticate(account.uid)
        self.name = self.ask("Hello").unpack()[0]

    def close(self):
        self._socket.close()

    def _authenticate(self, uid):
        identity = str(uid).encode().hex()
        self._socket.sendall(b"\0AUTH EXTERNAL " + identity.encode() + b"\r\n")
        answer = self._socket.recv(4096)
        if not answer.startswith(b"OK "):
            raise AssertionError(f"the bus does not know uid {uid}: {answer!r}")
        self._socket.sendall(b"BEGIN\r\n")

    def send(self, message):
        """Sends a message; its serial number."""
        self._serial += 1
        message.set_serial(self._serial)
        self._socket.sendall(message.to_blob(Gio.DBusCapabilityFlags.NONE))
        return self._serial

    def receive(self):
        """The next message."""
        self._fill(FIXED_HEADER)
        size = Gio.DBusMessage.bytes_needed(self._buffer[:FIXED_HEADER])
        self._fill(size)
        data, self._buffer = self._buffer[:size], self._buffer[size:]
        return Gio.DBusMessage.new_from_blob(data, Gio.DBusCapabilityFlags.NONE)

    def _fill(self, size):
        while len(self._buffer) < size:
            data = self._socket.recv(1 << 16)
            if not data:
                raise AssertionError("the bus has closed the connection")
            self._buffer += data

    def exchange(self, message):
        """Sends a call; its answer. What comes in before is kept."""
        serial = self.send(message)
        while True:
            answer = self.receive()
            if answer.get_message_type() in (REPLY, ERROR) and answer.get_reply_serial() == serial:
                return answer
            self._inbox.append(answer)

    def ask(self, member, body=None):
        """What the bus itself answers."""
        answer = self.exchange(call(BUS, BUS_PATH, BUS, member, body))
        if answer.get_message_type() == ERROR:
            raise AssertionError(f"{member}: {answer.get_error_name()}: {answer.get_body()}")
        return answer.get_body()

    def own(self, name):
        """Whether the name is this connection's now, or else the name of the error, or the bus's number."""
        answer = self.exchange(call(BUS, BUS_PATH, BUS, "RequestName", GLib.Variant("(su)", (name, 4))))
        if answer.get_message_type() == ERROR:
            return answer.get_error_name()
        number = answer.get_body().unpack()[0]
        return "done" if number in (1, 4) else f"refused with {number}"

    def listen(self, rule):
        self.ask("AddMatch", texts(rule))

    def arrived(self):
        """All that has arrived since the last time, up to now: the bus has done whatever it was sent before."""
        self.ask("GetId")
        messages, self._inbox = self._inbox, []
        return messages
