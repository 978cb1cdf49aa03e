# SPDX-License-Identifier: MIT
"""Whole lives of an HMI and of an application with a service that python-dbusmock plays."""

import unittest

from kivinterop import (APP_PATH, HMI_PATH, INTERFACE, OPENING_APP, OPENING_HMI, InteropTest)

SESSION = '{"sessionId":7}'
QUERY = '{"destination":"all","sessionId":7}'
REGISTRATION = ('{"focusType":"permanent","sessionId":7,"streamModeName":"/com/quorvantel/audioclient/interop",'
                '"streamName":"Interop Player","streamType":"Media"}')
FOCUS_EVENT = ('{"streamName":"Radio","streamModeName":"/radio","focusType":"permanent","streamType":"Media",'
               '"destination":"front","newFocus":"gained"}')


class MockedService(InteropTest):

    def test_hmi_whole_life(self):
        service = self.start_service({"openSession": SESSION,
                                      "getModeList": '{"modeList":["Radio","Phone"]}',
                                      "getMode": '{"currentMode":["Radio"]}'}, HMI_PATH)
        hmi = self.start_client("hmi")
        self.assertEqual(hmi.line(), "state INIT_STATE_SUCCESS")
        hmi.send("modes")
        self.assertEqual(hmi.line(), "modes [Radio,Phone] [Radio]")

        # A mode that is listed is set at once.
        hmi.send("setMode Phone")
        self.assertEqual(hmi.lines(2), ["request 1", "event SetModeCompleted 1 true"])
        self.assertEqual(self.call_client("onModeChange", '{"activeMode":"Phone","sessionId":7}'), "{}")
        self.assertEqual(hmi.line(), "event ModeChanged [Phone]")

        # One that is not is set when the service adds it.
        hmi.send("setMode Navigation")
        self.assertEqual(hmi.line(), "request 2")
        before = self.requests_of(service)
        addition = '{"action":"add","mode":"Navigation","sessionId":7}'
        self.assertEqual(self.call_client("onModeListChange", addition), "{}")
        self.assertEqual(hmi.lines(2), ["event ModeListChanged true [Navigation]",
                                        "event SetModeCompleted 2 true"])
        self.assertEqual(self.requests_of(service),
                         before + [("setMode", '{"newMode":"Navigation","sessionId":7}')])
        removal = '{"action":"remove","mode":"Radio","sessionId":7}'
        self.assertEqual(self.call_client("onModeListChange", removal), "{}")
        self.assertEqual(hmi.line(), "event ModeListChanged false [Radio]")
        hmi.send("modes")
        self.assertEqual(hmi.line(), "modes [Phone,Navigation] [Phone]")

        # The focus of a stream is broadcast.
        service.EmitSignal(INTERFACE, "Notify", "ss", ["audioFocusChangeEvent", FOCUS_EVENT])
        self.assertEqual(hmi.line(),
                         "event AudioFocusChange [Radio] [/radio] [permanent] [Media] [front] [gained]")

        # What is asked again replaces what was known.
        hmi.send("getModeList")
        self.assertEqual(hmi.lines(2), ["request 3", "event GetModeListCompleted 3 true"])
        hmi.send("getMode front")
        self.assertEqual(hmi.lines(2), ["request 4", "event GetModeCompleted 4 true"])
        hmi.send("modes")
        self.assertEqual(hmi.line(), "modes [Radio,Phone] [Radio]")

        self.assertEqual(hmi.end_input(), (["stopped"], 0))
        self.assertEqual(self.requests_of(service), [
            ("openSession", OPENING_HMI),
            ("getModeList", QUERY),
            ("getMode", QUERY),
            ("setMode", '{"newMode":"Phone","sessionId":7}'),
            ("setMode", '{"newMode":"Navigation","sessionId":7}'),
            ("getModeList", QUERY),
            ("getMode", '{"destination":"front","sessionId":7}'),
            ("closeSession", SESSION)])

    def test_app_whole_life(self):
        service = self.start_service({"openSession": SESSION}, APP_PATH)
        app = self.start_client("app")
        self.assertEqual(app.line(), "state INIT_STATE_SUCCESS")

        app.send("query")
        self.assertEqual(app.lines(2), ["request 1", "event RequestAudioFocusCompleted 1 true"])
        self.decide(app, "onRequestAudioFocusResult", "wouldBeGranted", "ResponseToAudioFocusRequest")
        app.send("request")
        self.assertEqual(app.lines(2), ["request 2", "event RequestAudioFocusCompleted 2 true"])
        self.decide(app, "onRequestAudioFocusResult", "granted", "ResponseToAudioFocusRequest")
        app.send("active true")
        self.assertEqual(app.lines(2), ["request 3", "event AudioActiveCompleted 3 true"])
        self.decide(app, "onAudioFocusChange", "temporarilyLost", "AudioFocusChanged")
        self.decide(app, "onAudioFocusChange", "gained", "AudioFocusChanged")
        # A broadcast is not meant for applications; nothing comes of it.
        service.EmitSignal(INTERFACE, "Notify", "ss", ["audioFocusChangeEvent", FOCUS_EVENT])
        self.decide(app, "onAudioFocusChange", "lost", "AudioFocusChanged")
        # Nor of a call for another session.
        self.assertEqual(self.call_client("onAudioFocusChange", '{"newFocus":"gained","sessionId":8}'), "{}")
        app.send("focus")
        self.assertEqual(app.line(), "focus [lost]")
        app.send("active false")
        self.assertEqual(app.lines(2), ["request 4", "event AudioActiveCompleted 4 true"])
        app.send("abandon")
        self.assertEqual(app.line(), "request 0")
        app.send("abandon the \"enü\"")
        self.assertEqual(app.lines(2), ["request 5", "event AbandonAudioFocusCompleted 5 true"])
        app.send("register")
        self.assertEqual(app.lines(2), ["request 6", "event RegisterAudioStreamCompleted 6 true"])

        self.assertEqual(app.end_input(), (["stopped"], 0))
        self.assertEqual(self.requests_of(service), [
            ("openSession", OPENING_APP),
            ("registerAudioStream", REGISTRATION),
            ("requestAudioFocus", '{"requestType":"query","sessionId":7}'),
            ("requestAudioFocus", '{"requestType":"request","sessionId":7}'),
            ("audioActive", '{"playing":true,"sessionId":7}'),
            ("audioActive", '{"playing":false,"sessionId":7}'),
            ("abandonAudioFocus", '{"reason":"the \\"enü\\"","sessionId":7}'),
            ("registerAudioStream", REGISTRATION),
            ("closeSession", SESSION)])

    def decide(self, app, method, focus, event):
        self.assertEqual(self.call_client(method, '{"newFocus":"%s","sessionId":7}' % focus), "{}")
        self.assertEqual(app.line(), f"event {event} [{focus}]")

    def test_app_refused_registration(self):
        service = self.start_service({"openSession": SESSION, "registerAudioStream": '{"errCode":5}'}, APP_PATH)
        app = self.start_client("app")
        self.assertEqual(app.line(), "state INIT_STATE_FAILED")
        app.send("register")
        self.assertEqual(app.lines(2), ["request 1", "event RegisterAudioStreamCompleted 1 false"])

        self.assertEqual(app.end_input(), (["stopped"], 0))
        self.assertEqual(self.requests_of(service), [("openSession", OPENING_APP),
                                                     ("registerAudioStream", REGISTRATION),
                                                     ("registerAudioStream", REGISTRATION),
                                                     ("closeSession", SESSION)])

    def test_service_appears_late_for_an_app(self):
        self.late_start("app", APP_PATH, [("openSession", OPENING_APP), ("registerAudioStream", REGISTRATION)])

    def test_service_appears_late_for_an_hmi(self):
        self.late_start("hmi", HMI_PATH, [("openSession", OPENING_HMI), ("getModeList", QUERY), ("getMode", QUERY)])

    def late_start(self, role, path, requests):
        service = self.start_service({"openSession": SESSION}, path, appears=False)
        client = self.start_client(role)
        self.assertEqual(client.line(), "state INIT_STATE_WAITING_FOR_KIV")
        self.assertEqual(self.requests_of(service), [])

        self.appear(path)

        self.assertEqual(client.line(), "late INIT_STATE_SUCCESS")
        self.assertEqual(client.end_input(), (["stopped"], 0))
        self.assertEqual(self.requests_of(service), requests + [("closeSession", SESSION)])

    def test_service_without_the_object(self):
        self.start_service({"openSession": SESSION}, "/elsewhere")
        for role in ("app", "hmi"):
            with self.subTest(role=role):
                client = self.start_client(role)
                self.assertEqual(client.line(), "state INIT_STATE_FAILED")
                self.assertEqual(client.end_input(), (["stopped"], 0))


if __name__ == "__main__":
    unittest.main()
