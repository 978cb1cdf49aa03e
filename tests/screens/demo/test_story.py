# SPDX-License-Identifier: MIT
"""kiv-audio-demo with its three programs, operated as a user does: with a mouse and a keyboard."""

import json
import os
import signal
import unittest

import dbus

from demostage import CONTROL, NAMES, PATIENCE, ScreenTest

# In the windows, from the left and from the top.
BLUETOOTH = (317, 168)
BUTTONS = {"startCall": (190, 347), "endCall": (330, 347), "stopService": (172, 387), "startService": (262, 387),
           "restartService": (352, 387)}



class Story(ScreenTest):

    def setUp(self):
        super().setUp()
        self._demo = None
        self._windows = {}
        self._record = 0
        self._log = []

    def start_demo(self, *arguments):
        """Starts the demonstration, and puts its windows beside each other."""
        self._demo = self.start(*arguments)
        for name in NAMES:
            self._windows[name] = self.window_of(name)
        self.arrange(self._windows.values())

    def click(self, program, place):
        self.xdotool("mousemove", "--window", self._windows[program], *place, "click", 1)

    def press(self, button):
        self.click(CONTROL, BUTTONS[button])

    def key(self, program, key):
        self.xdotool("windowfocus", "--sync", self._windows[program], "key", key)

    def read_log(self):
        """All that the simulator has logged so far."""
        lines = True
        while lines:
            lines, self._record = self._demo.control().ReadLog(dbus.UInt32(self._record), timeout=PATIENCE)
            self._log += [json.loads(str(line)) for line in lines]
        return self._log

    def count(self, **members):
        """How many records of the log have these members."""
        return sum(all(record.get(name) == value for name, value in members.items()) for record in self.read_log())

    def wait_for(self, count, **members):
        self.wait_until(lambda: self.count(**members) >= count, f"{count} × {members} in {self._log}")

    def test_userPlaysCallsAndRestarts_allFollow(self):
        self.start_demo("--theme", "night", "--language", "en")
        self.wait_for(1, kind="request", name="registerAudioStream")  # the player
        self.wait_for(2, kind="request", name="getMode")              # the panel, and simulator-control
        self.click("hmi-panel", BLUETOOTH)
        self.wait_for(2, kind="call", name="onModeChange")
        self.key("media-player", "space")
        self.wait_for(1, kind="call", name="onRequestAudioFocusResult")
        self.keep_picture("demo-1-playing")

        self.press("startCall")
        self.wait_for(1, kind="step", name="startStream")
        self.wait_for(1, kind="call", name="onAudioFocusChange")
        self.keep_picture("demo-2-call")
        self.press("endCall")
        self.wait_for(2, kind="call", name="onAudioFocusChange")
        self.keep_picture("demo-3-after-the-call")

        self.press("stopService")
        self.wait_for(1, kind="step", name="leave")
        self.keep_picture("demo-4-without-service")
        self.press("startService")
        self.wait_for(2, kind="request", name="registerAudioStream")
        self.wait_for(4, kind="request", name="getMode")
        self.press("restartService")
        self.wait_for(1, kind="step", name="restart")
        self.wait_for(3, kind="request", name="registerAudioStream")
        self.wait_for(6, kind="request", name="getMode")
        self.keep_picture("demo-5-after-the-restart")
        self.assertEqual(self.count(kind="failed"), 0)

        self.key(CONTROL, "ctrl+q")
        self.assertEqual(self._demo.result(), (0, "", []))
        self.assert_nothing_is_left()

    def test_serviceKilled_demoGoesOnUntilClosed(self):
        self.start_demo("--theme", "day", "--language", "de")
        self.wait_for(1, kind="request", name="registerAudioStream")
        self.wait_for(2, kind="request", name="getMode")
        self.wait_for_rest()
        before = {name: self.look_of(self._windows[name]) for name in NAMES}
        os.kill(self._demo.service_process(), signal.SIGKILL)
        for name in NAMES:
            self.wait_until(lambda name=name: self.look_of(self._windows[name]) != before[name],
                            f"{name} to show that the service has gone")
        self.keep_picture("demo-6-service-killed")
        self.key(CONTROL, "ctrl+q")
        complaint = "kiv-audio-simulator: the service has ended before the command: it was killed by signal 9 (Killed)"
        self.assertEqual(self._demo.result(), (0, "", [complaint]))
        self.assert_nothing_is_left()


if __name__ == "__main__":
    unittest.main()
