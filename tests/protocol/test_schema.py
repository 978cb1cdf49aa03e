# SPDX-License-Identifier: MIT
"""The schema of the protocol is a valid one, takes its own examples, and refuses damaged messages."""

import copy
import json
import unittest

import jsonschema

from kivprotocol import (BROADCAST, CALLS, DEFINITIONS, MESSAGES, RECEIVED, RECORD_VALIDATOR, REQUESTS, SCHEMA, SENT,
                         VALIDATORS, is_required, members)

HELPERS = {"accepted", "answered", "sessionId", "objectPath", "modes", "request", "call"}
OTHER_TYPES = {"string": 5, "integer": "5", "boolean": "true"}
ADDITION = {"nobodyKnows": None}
BAD_NUMBERS = (0, -1, 2147483648, 1.5)


def examples(name):
    return DEFINITIONS[name]["examples"]


def changed(message, key, value):
    return {**copy.deepcopy(message), key: value}


def record_of(name, content):
    """A message as kivctl trace --json prints it, without what the schema does not look at."""
    subject, _, part = name.partition(".")
    if subject == BROADCAST:
        return {"record": "signal", "signal": BROADCAST, "role": "hmi", part: content}
    if subject == "error":
        subject, part = "setMode", "result"
    record = {"record": "call" if part == "arguments" else "reply", "method": subject, part: content,
              "direction": "toService" if subject in REQUESTS else "toClient"}
    if subject in CALLS or not subject.endswith("Session"):
        record["role"] = "hmi" if "Mode" in subject else "app"
    return record


class Schema(unittest.TestCase):

    maxDiff = None

    def refused(self, name, message):
        with self.subTest(message=name, content=json.dumps(message)):
            self.assertFalse(VALIDATORS[name].is_valid(message), "was accepted")
            if name not in ("error", *[f"{method}.result" for method in REQUESTS]): # a result can be an error answer
                self.assertFalse(RECORD_VALIDATOR.is_valid(record_of(name, message)), "was accepted as a record")

    def accepted(self, name, message):
        with self.subTest(message=name, content=json.dumps(message)):
            VALIDATORS[name].validate(message)
            RECORD_VALIDATOR.validate(record_of(name, message))

    def test_schema_is_valid(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_definitions_are_those_of_the_messages(self):
        self.assertEqual(sorted(DEFINITIONS), sorted([*MESSAGES, *HELPERS]))
        self.assertEqual(SCHEMA["properties"]["method"]["enum"], REQUESTS + CALLS)
        self.assertEqual(SCHEMA["properties"]["signal"], {**SCHEMA["properties"]["signal"], "const": BROADCAST})

    def test_every_definition_is_used_by_the_schema_itself(self):
        text = json.dumps(SCHEMA)
        self.assertEqual([name for name in DEFINITIONS if f'"#/$defs/{name}"' not in text], [])

    def test_every_message_says_what_it_is_and_has_examples(self):
        for name in MESSAGES:
            with self.subTest(name):
                definition = DEFINITIONS[name]
                self.assertTrue(definition["title"])
                self.assertRegex(definition["description"], "^[a-zA-Z ]+ → [a-zA-Z ]+[.,] [A-Z a-z]+")
                self.assertTrue(definition["examples"])

    def test_examples_follow_their_schemas(self):
        for name in MESSAGES:
            for example in examples(name):
                self.accepted(name, example)

    def test_what_the_client_says_is_not_open_to_additions(self):
        for name in SENT:
            self.refused(name, {**examples(name)[0], **ADDITION})

    def test_what_the_service_says_is_open_to_additions_that_do_no_harm(self):
        for name in (*RECEIVED, f"{BROADCAST}.payload", "error"):
            if "*" in members(name):
                self.refused(name, {**examples(name)[0], **ADDITION})
            else:
                self.accepted(name, {**examples(name)[0], **ADDITION})

    def test_missing_member_is_refused(self):
        count = 0
        for name in MESSAGES:
            for key in [key for key in members(name) if key != "*" and is_required(name, key)]:
                for example in examples(name):
                    self.refused(name, {other: value for other, value in example.items() if other != key})
                    count += 1
        self.assertGreater(count, 30)

    def test_result_without_any_mode_is_refused(self):
        for name in ("getModeList.result", "getMode.result"):
            for result in ({}, {"modeList": None}, {"modeList": 5}, {"modeList": ["Radio", 5]}):
                self.refused(name, result)

    def test_member_of_another_type_is_refused(self):
        count = 0
        for name in MESSAGES:
            for key, member in members(name).items():
                wrong = OTHER_TYPES[member.get("type", "string")] if "anyOf" not in member else 5
                for value in (wrong, None, {}):
                    self.refused(name, changed(examples(name)[0], key if key != "*" else "someKey", value))
                    count += 1
        self.assertGreater(count, 100)

    def test_number_that_no_session_has_is_refused(self):
        count = 0
        for name in MESSAGES:
            for value in BAD_NUMBERS if "sessionId" in members(name) else ():
                self.refused(name, changed(examples(name)[0], "sessionId", value))
                count += 1
        self.assertEqual(count, len(BAD_NUMBERS) * (len(REQUESTS) + len(CALLS)))

    def test_unknown_value_is_refused(self):
        for name in MESSAGES:
            for key, member in members(name).items():
                for value in member.get("enum", ()):
                    self.refused(name, changed(examples(name)[0], key, value.capitalize()))

    def test_empty_text_is_refused_where_none_is_sent(self):
        empty = [(name, key) for name in SENT for key, member in members(name).items()
                 if member.get("type") == "string" and not VALIDATORS[name].is_valid(changed(examples(name)[0], key, ""))]
        self.assertEqual(empty, [
            ("openSession.arguments", "busName"), ("openSession.arguments", "destination"),
            ("openSession.arguments", "objectPath"), ("getModeList.arguments", "destination"),
            ("getMode.arguments", "destination"), ("registerAudioStream.arguments", "streamModeName"),
            ("registerAudioStream.arguments", "streamType"), ("abandonAudioFocus.arguments", "reason")])

    def test_object_of_a_client_has_the_path_of_one(self):
        for path in ("/player", "player/ServiceProviderClient", "//ServiceProviderClient", "/a-b/ServiceProviderClient",
                     "/ServiceProviderClient/"):
            self.refused("openSession.arguments", changed(examples("openSession.arguments")[0], "objectPath", path))
        self.accepted("openSession.arguments",
                      changed(examples("openSession.arguments")[0], "objectPath", "/ServiceProviderClient"))

    def test_stream_with_transient_focus_offers_no_mode(self):
        self.refused("registerAudioStream.arguments",
                     changed(examples("registerAudioStream.arguments")[0], "focusType", "transient"))

    def test_error_is_no_result_and_no_result_is_an_error(self):
        for name in [f"{method}.result" for method in REQUESTS]:
            for error in examples("error"):
                self.assertFalse(VALIDATORS[name].is_valid({**examples(name)[0], **error}), name)
            self.assertFalse(VALIDATORS["error"].is_valid(examples(name)[0]), name)
            self.assertTrue(RECORD_VALIDATOR.is_valid(record_of(name, examples("error")[0])), name)
        for name in [f"{method}.result" for method in CALLS]:
            self.assertFalse(RECORD_VALIDATOR.is_valid(record_of(name, examples("error")[0])), name)

    def test_what_is_no_object_is_refused(self):
        for name in MESSAGES:
            for content in ([], "text", 5, None):
                self.refused(name, content)

    def test_record_with_another_direction_or_role_is_refused(self):
        for name in MESSAGES:
            record = record_of(name, examples(name)[0])
            RECORD_VALIDATOR.validate(record)
            if "direction" in record:
                other = {"toService": "toClient", "toClient": "toService"}[record["direction"]]
                self.assertFalse(RECORD_VALIDATOR.is_valid({**record, "direction": other}), name)
            if "role" in record and "method" in record:
                other = {"hmi": "app", "app": "hmi"}[record["role"]]
                self.assertFalse(RECORD_VALIDATOR.is_valid({**record, "role": other}), name)

    def test_record_outside_the_protocol_is_refused(self):
        for damage in ({"method": "getmode"}, {"text": "no JSON"}, {"fault": "one argument"}):
            record = record_of("getMode.arguments", examples("getMode.arguments")[0])
            self.assertFalse(RECORD_VALIDATOR.is_valid({**record, **damage}), damage)
        broadcast = record_of(f"{BROADCAST}.payload", examples(f"{BROADCAST}.payload")[0])
        self.assertFalse(RECORD_VALIDATOR.is_valid({**broadcast, "signal": "audioFocusChange"}))


if __name__ == "__main__":
    unittest.main()
