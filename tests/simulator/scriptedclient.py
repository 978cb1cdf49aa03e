# SPDX-License-Identifier: MIT
"""A client without the library: it calls the service by a script, and answers what it is called with."""

import json
import time

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
from gi.repository import GLib

from kivinterop import APP_PATH, HMI_PATH, INTERFACE, PATIENCE, SERVICE

PATHS = {"hmi": HMI_PATH, "app": APP_PATH}
PARAMETERS = {
    "getModeList": {"destination": "all"},
    "getMode": {"destination": "all"},
    "setMode": {"newMode": "Bluetooth"},
    "registerAudioStream": {"streamName": "player", "streamType": "Media", "focusType": "permanent",
                            "streamModeName": "/player"},
    "requestAudioFocus": {"requestType": "request"},
    "audioActive": {"playing": True},
    "abandonAudioFocus": {"reason": "end of the list"},
}


class ScriptedClient:
    """It has one request under way at a time, so that the service alone decides what comes when."""

    def __init__(self, address):
        self._bus = dbus.bus.BusConnection(address, mainloop=dbus.mainloop.glib.DBusGMainLoop())
        self._bus.set_exit_on_disconnect(False)
        self._bus.add_message_filter(self._handle)
        self._bus.add_match_string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                                   f"arg0='{SERVICE}'")
        self._context = GLib.MainContext.default()
        self._sessions = {}
        self.heard = []    # names of events, and "came" and "left" of the service
        self.answers = []  # texts, or names of errors

    def close(self):
        self._bus.close()

    def _handle(self, _, message):
        if message.get_member() == "NameOwnerChanged":
            self.heard.append("came" if message.get_args_list()[2] else "left")
        elif message.get_member() == "Request" and message.get_type() == 1:
            self.heard.append(str(message.get_args_list()[0]))
            answer = dbus.lowlevel.MethodReturnMessage(message)
            answer.append("{}", signature="s")
            self._bus.send_message(answer)
        else:
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def wait_until(self, condition, what):
        """Handles messages until something has come true."""
        deadline = time.monotonic() + PATIENCE
        GLib.timeout_add(50, lambda: time.monotonic() < deadline + 1)  # wakes the loop up
        while not condition():
            assert time.monotonic() < deadline, f"waited {PATIENCE} s for {what}; heard: {self.heard}"
            self._context.iteration(True)

    def wait_for(self, event, count):
        self.wait_until(lambda: self.heard.count(event) >= count, f"{count} {event}")

    def call(self, role, method, **changes):
        """A request whose answer is waited for."""
        before = len(self.answers)
        self._send(role, method, changes, PATIENCE)
        self.wait_until(lambda: len(self.answers) > before, f"the answer to {method}")
        if method == "openSession":
            self._remember(role, self.answers[-1])

    def call_often(self, count, role, method):
        """Requests that do not wait for each other; all answers are waited for."""
        before = len(self.answers)
        for _ in range(count):
            self._send(role, method, {}, PATIENCE)
        self.wait_until(lambda: len(self.answers) == before + count, f"the answers to {count} {method}")

    def call_in_vain(self, role, method, **changes):
        """A request that is not answered in time."""
        before = len(self.answers)
        self._send(role, method, changes, 0.2)
        self.wait_until(lambda: len(self.answers) > before, f"the failure of {method}")

    def _send(self, role, method, changes, seconds):
        if method == "openSession":
            parameters = {"busName": "", "objectPath": f"/scripted/{role}", **changes}
        else:
            parameters = {**PARAMETERS.get(method, {}), "sessionId": self._sessions.get(role, 0), **changes}
        self._bus.call_async(SERVICE, PATHS[role], INTERFACE, "Request", "ss",
                             (method, json.dumps(parameters, sort_keys=True)),
                             lambda text: self.answers.append(str(text)),
                             lambda error: self.answers.append(error.get_dbus_name()), timeout=seconds)

    def _remember(self, role, answer):
        try:
            self._sessions[role] = json.loads(answer)["sessionId"]
        except (ValueError, KeyError):
            pass
