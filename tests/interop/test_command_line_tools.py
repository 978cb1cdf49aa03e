# SPDX-License-Identifier: MIT
"""gdbus, busctl and dbus-send call a client's exported object and look at it."""

import subprocess
import unittest

from kivinterop import (APP_PATH, CLIENT_NAME, CLIENT_PATH, HMI_PATH, INTERFACE, OPENING_APP, PATIENCE, InteropTest,
                        require_tool)

SESSION = '{"sessionId":7}'

INTROSPECTION = """\
  <interface name="com.quorvantel.ServiceProvider">
    <method name="Request">
      <arg direction="in" type="s" name="methodName"/>
      <arg direction="in" type="s" name="arguments"/>
      <arg direction="out" type="s" name="result"/>
    </method>
    <signal name="Notify">
      <arg direction="out" type="s" name="signalName"/>
      <arg direction="out" type="s" name="payload"/>
    </signal>
  </interface>
"""


class CommandLineTools(InteropTest):

    def start(self, role):
        """The service, and a client with the session 7."""
        self.service = self.start_service({"openSession": SESSION}, APP_PATH if role == "app" else HMI_PATH)
        client = self.start_client(role)
        self.assertEqual(client.line(), "state INIT_STATE_SUCCESS")
        return client

    def run_tool(self, *command):
        """The exit code and the output of a program."""
        done = subprocess.run([require_tool(command[0]), *command[1:]], env=self.environment, timeout=PATIENCE,
                              capture_output=True, text=True, check=False)
        return done.returncode, (done.stdout + done.stderr).rstrip("\n")

    def gdbus(self, command, *arguments):
        return self.run_tool("gdbus", command, "--address", self.address, "--dest", CLIENT_NAME, "--object-path",
                             CLIENT_PATH, *arguments)

    def busctl(self, command, *arguments):
        return self.run_tool("busctl", f"--address={self.address}", "--no-pager", command, CLIENT_NAME, CLIENT_PATH,
                             *arguments)

    def dbus_send(self, member, *arguments):
        return self.run_tool("dbus-send", f"--bus={self.address}", "--print-reply=literal", f"--dest={CLIENT_NAME}",
                             CLIENT_PATH, member, *arguments)

    def gdbus_request(self, method, arguments):
        return self.gdbus("call", "--method", f"{INTERFACE}.Request", method, arguments)

    def busctl_request(self, method, arguments):
        return self.busctl("call", INTERFACE, "Request", "ss", method, arguments)

    def dbus_send_request(self, method, arguments):
        return self.dbus_send(f"{INTERFACE}.Request", f"string:{method}", f"string:{arguments}")

    # Calls

    def check_calls_of_an_app(self, request, answer):
        app = self.start("app")
        for method, event in (("onAudioFocusChange", "AudioFocusChanged"),
                              ("onRequestAudioFocusResult", "ResponseToAudioFocusRequest")):
            self.assertEqual(request(method, '{"newFocus":"lost it","sessionId":7}'), (0, answer))
            self.assertEqual(app.line(), f"event {event} [lost it]")
        # What the client does not understand is answered likewise, and nothing comes of it.
        self.assertEqual(request("onAudioFocusChange", '{"newFocus":"gained","sessionId":8}'), (0, answer))
        self.assertEqual(request("onModeChange", '{"activeMode":"A","sessionId":7}'), (0, answer))
        self.assertEqual(request("unheard of", "no JSON"), (0, answer))
        app.send("focus")
        self.assertEqual(app.line(), "focus [lost it]")
        self.assertEqual(app.end_input(), (["stopped"], 0))
        self.assertEqual([method for method, _ in self.requests_of(self.service)],
                         ["openSession", "registerAudioStream", "closeSession"])
        self.assertEqual(self.requests_of(self.service)[0], ("openSession", OPENING_APP))

    def check_calls_of_an_hmi(self, request, answer):
        hmi = self.start("hmi")
        self.assertEqual(request("onModeChange", '{"activeMode":"Radio","sessionId":7}'), (0, answer))
        self.assertEqual(hmi.line(), "event ModeChanged [Radio]")
        self.assertEqual(request("onModeListChange", '{"action":"add","mode":"Radio","sessionId":7}'), (0, answer))
        self.assertEqual(hmi.line(), "event ModeListChanged true [Radio]")
        self.assertEqual(request("onAudioFocusChange", '{"newFocus":"lost","sessionId":7}'), (0, answer))
        self.assertEqual(request("onModeChange", '{"activeMode":"Phone","sessionId":8}'), (0, answer))
        hmi.send("modes")
        self.assertEqual(hmi.line(), "modes [Radio] [Radio]")
        self.assertEqual(hmi.end_input(), (["stopped"], 0))

    def test_gdbus_calls_an_app(self):
        self.check_calls_of_an_app(self.gdbus_request, "('{}',)")

    def test_gdbus_calls_an_hmi(self):
        self.check_calls_of_an_hmi(self.gdbus_request, "('{}',)")

    def test_busctl_calls_an_app(self):
        self.check_calls_of_an_app(self.busctl_request, 's "{}"')

    def test_busctl_calls_an_hmi(self):
        self.check_calls_of_an_hmi(self.busctl_request, 's "{}"')

    def test_dbus_send_calls_an_app(self):
        self.check_calls_of_an_app(self.dbus_send_request, "   {}")

    def test_dbus_send_calls_an_hmi(self):
        self.check_calls_of_an_hmi(self.dbus_send_request, "   {}")

    def test_dbus_send_prints_one_string(self):
        self.start("app")
        code, output = self.run_tool("dbus-send", f"--bus={self.address}", "--print-reply", f"--dest={CLIENT_NAME}",
                                     CLIENT_PATH, f"{INTERFACE}.Request", "string:a", "string:{}")
        self.assertEqual(code, 0, output)
        self.assertEqual(output.splitlines()[1:], ['   string "{}"'])

    def test_calls_of_another_shape_are_refused(self):
        app = self.start("app")
        for arguments in ((), ("string:onAudioFocusChange",), ("string:onAudioFocusChange", "int32:7"),
                          ("string:a", "string:b", "string:c")):
            with self.subTest(arguments=arguments):
                code, output = self.dbus_send(f"{INTERFACE}.Request", *arguments)
                self.assertEqual(code, 1, output)
                self.assertIn("org.freedesktop.DBus.Error.UnknownMethod", output)
        code, output = self.dbus_send(f"{INTERFACE}.Notify", "string:a", "string:b")
        self.assertEqual(code, 1, output)
        self.assertIn("org.freedesktop.DBus.Error.UnknownMethod", output)
        self.assertEqual(app.end_input(), (["stopped"], 0))

    # Introspection

    def test_gdbus_introspects(self):
        self.start("app")
        code, output = self.gdbus("introspect")
        self.assertEqual(code, 0, output)
        self.assertEqual(output[:output.index("  interface org.")], f"""node {CLIENT_PATH} {{
  interface com.quorvantel.ServiceProvider {{
    methods:
      Request(in  s methodName,
              in  s arguments,
              out s result);
    signals:
      Notify(s signalName,
             s payload);
    properties:
  }};
""")
        self.assertEqual([line for line in output.splitlines() if line.startswith("  interface ")],
                         ["  interface com.quorvantel.ServiceProvider {",
                          "  interface org.freedesktop.DBus.Properties {",
                          "  interface org.freedesktop.DBus.Introspectable {",
                          "  interface org.freedesktop.DBus.Peer {"])

    def test_gdbus_introspects_an_hmi_likewise(self):
        self.start("hmi")
        code, output = self.gdbus("introspect", "--xml")
        self.assertEqual(code, 0, output)
        self.check_introspection(output)

    def test_busctl_introspects(self):
        self.start("app")
        code, output = self.busctl("introspect", INTERFACE)
        self.assertEqual(code, 0, output)
        self.assertEqual([line.split() for line in output.splitlines()],
                         [["NAME", "TYPE", "SIGNATURE", "RESULT/VALUE", "FLAGS"],
                          [".Request", "method", "ss", "s", "-"],
                          [".Notify", "signal", "ss", "-", "-"]])

    def test_busctl_shows_the_introspection_text(self):
        self.start("app")
        code, output = self.run_tool("busctl", f"--address={self.address}", "--no-pager", "--xml-interface",
                                     "introspect", CLIENT_NAME, CLIENT_PATH)
        self.assertEqual(code, 0, output)
        self.check_introspection(output)

    def test_dbus_send_introspects(self):
        self.start("app")
        code, output = self.dbus_send("org.freedesktop.DBus.Introspectable.Introspect")
        self.assertEqual(code, 0, output)
        self.check_introspection(output)

    def check_introspection(self, xml):
        """The interface is described to the letter, once."""
        self.assertEqual(len(INTROSPECTION), 420)
        self.assertEqual(xml.count('<interface name="com.quorvantel.ServiceProvider">'), 1)
        begin = xml.index('  <interface name="com.quorvantel.ServiceProvider">')
        self.assertEqual(xml[begin:begin + len(INTROSPECTION)], INTROSPECTION)

    def test_object_is_gone_with_the_client(self):
        app = self.start("app")
        self.assertEqual(self.busctl_request("a", "{}")[0], 0)
        self.assertEqual(app.end_input(), (["stopped"], 0))
        self.wait_until(lambda: not self.bus.name_has_owner(CLIENT_NAME), "the client's name to go")
        code, output = self.dbus_send_request("a", "{}")
        self.assertEqual(code, 1)
        self.assertIn("org.freedesktop.DBus.Error.ServiceUnknown", output)


if __name__ == "__main__":
    unittest.main()
