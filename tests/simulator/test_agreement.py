# SPDX-License-Identifier: MIT
"""The schema of scenarios and the simulator's reader know the same names, and accept the same values."""

import json
import re
import unittest

import dbus
import jsonschema

from kivsimulator import SimulatorTest, schema

SCHEMA = schema("scenario")
NEVER = {"calls": 1000000}  # a trigger: steps that are only read are not to be done
# A value of each member that something cannot be without.
NEEDED = {"count": 1, "delay": 0, "fault": {"kind": "noAnswer"}, "mode": "Tape", "name": "phone",
          "to": "all", "value": 7}
# Values of every type, about every limit.
VALUES = [None, True, False, 0, -1, 1, 2, 1.0, 0.5, 1.5, 600000, 600001, 1000000, 1000001, 16777216, 16777217,
          4294967296, "", "x", "a.b", "a..b", "a." + "b" * 253, "a." + "b" * 254, "always", "hmi", "app",
          "all", "answer", "events", "transient", "permanent", [], [""], ["x"], ["x", "x"], ["x", 1], [1],
          [1, 2], [2, 2], [0, 600001], [1, 2, 3], {}, {"x": 1}, {"x": []}, {"x": ["y"]}, {"x": ["y", "y"]},
          {"x": [""]}, {"": ["y"]}, {"all": ["y"]}, {"calls": 0}, {"calls": 1}, {"role": "all"},
          {"kind": "crash"}, {"kind": "crash", "x": 1}, [{"kind": "crash"}], [{"kind": "crashed"}],
          [{"do": "crash"}, 7]]


def branches(definition, key):
    """What the schema says of each kind of fault ("kind") or action ("do"): its own part, by name."""
    parts = SCHEMA["$defs"][definition]["allOf"]
    return {part["if"]["properties"][key]["const"]: part["then"] for part in parts}


def resolved(part):
    """A part of the schema, with that which it refers to."""
    reference = part.get("$ref", "#/$defs/").removeprefix("#/$defs/")
    return {**SCHEMA["$defs"].get(reference, {}), **part}


def members(definition, part):
    """The names of all members that a fault or step may have."""
    return {*SCHEMA["$defs"][definition]["properties"], *resolved(part).get("properties", {})}


def quoted(text):
    return set(re.findall(r'"([^"]*)"', text))


class Agreement(SimulatorTest):

    def setUp(self):
        super().setUp()
        self.start()
        self.simulator = self.control()
        # Steps are done in their order: none of those that a test adds.
        self.assertEqual(self.complaint("AddStep", {"do": "crash", "when": NEVER}), "")

    def complaint(self, method, document):
        """What the reader complains about; empty when it accepts the document."""
        try:
            self.simulator.get_dbus_method(method)(json.dumps(document))
            return ""
        except dbus.DBusException as error:
            self.assertEqual(error.get_dbus_name(), "org.freedesktop.DBus.Error.InvalidArgs")
            return error.get_dbus_message()

    def smallest(self, method, document):
        """The document with the members that the reader misses, and their names."""
        needed = []
        while True:
            missing = re.fullmatch(r'\w+:1: .*: member "(\w+)" is missing', self.complaint(method, document))
            if not missing:
                return document, needed
            needed.append(missing[1])
            document = {**document, missing[1]: NEEDED[missing[1]]}

    def known_members(self, method, document):
        complaint = self.complaint(method, {**document, "?": 0})
        match = re.fullmatch(r'\w+:1: .*: there is no member "\?"; expected some of (.*)', complaint)
        self.assertIsNotNone(match, complaint)
        return quoted(match[1])

    def check_names(self, definition, key, method):
        parts = branches(definition, key)
        complaint = self.complaint(method, {key: "?"})
        self.assertRegex(complaint, rf'^\w+:1: "{key}": expected one of ".*", found "\?"$')
        self.assertEqual(quoted(complaint) - {key, "?"}, set(parts))
        self.assertEqual(set(SCHEMA["$defs"][definition]["properties"][key]["enum"]), set(parts))
        for name, part in parts.items():
            with self.subTest(name):
                document, needed = self.smallest(method, {key: name})
                self.assertEqual(set(needed), set(resolved(part).get("required", [])))
                known = self.known_members(method, document)
                if name == "send":  # the reader looks for "parameters" once more only beside a "payload"
                    self.assertEqual(known, self.known_members(method, {**document, "payload": ""}))
                self.assertEqual(known, members(definition, part))

    def test_faults_have_the_names_of_the_schema(self):
        self.check_names("fault", "kind", "ArmFault")

    def test_actions_have_the_names_of_the_schema(self):
        self.check_names("step", "do", "AddStep")

    def test_scenario_and_trigger_have_the_members_of_the_schema(self):
        self.assertEqual(self.known_members("LoadScenario", {}), set(SCHEMA["properties"]))
        complaint = self.complaint("AddStep", {"do": "return", "when": {"?": 0}})
        self.assertEqual(complaint, 'step:1: a trigger: there is no member "?"; expected some of '
                                    '"calls", "method", "role"')
        self.assertEqual(set(SCHEMA["$defs"]["trigger"]["properties"]), {"calls", "method", "role"})

    def check_values(self, method, document, names, validator):
        """Each value for each member: the reader and the schema agree. How many they accepted."""
        accepted = 0
        for name in sorted(names):
            for value in VALUES:
                attempt = {**document, name: value}
                complaint = self.complaint(method, attempt)
                self.assertEqual(validator.is_valid(attempt), complaint == "", (attempt, complaint))
                accepted += complaint == ""
        return accepted

    def part_validator(self, definition):
        return jsonschema.Draft202012Validator({"$ref": f"#/$defs/{definition}", "$defs": SCHEMA["$defs"]})

    def test_values_of_faults(self):
        for name, part in branches("fault", "kind").items():
            with self.subTest(name):
                document, _ = self.smallest("ArmFault", {"kind": name})
                names = members("fault", part) - {"kind"}
                accepted = self.check_values("ArmFault", document, names, self.part_validator("fault"))
                self.assertGreater(accepted, len(names))

    def test_values_of_steps(self):
        for name, part in branches("step", "do").items():
            with self.subTest(name):
                document, _ = self.smallest("AddStep", {"do": name})
                names = members("step", part) - {"do"}
                accepted = self.check_values("AddStep", document, names, self.part_validator("step"))
                self.assertGreater(accepted, len(names))

    def test_values_of_triggers(self):
        validator = self.part_validator("step")
        for name in ("method", "role", "calls"):
            for value in VALUES:
                attempt = {"do": "return", "when": {name: value}}
                complaint = self.complaint("AddStep", attempt)
                self.assertEqual(validator.is_valid(attempt), complaint == "", (attempt, complaint))

    def test_values_of_scenarios(self):
        validator = jsonschema.Draft202012Validator(SCHEMA)
        names = set(SCHEMA["properties"])
        # Without a step that is done at once and ends the program.
        values = [value for value in VALUES if not isinstance(value, list) or {"do": "crash"} not in value]
        for name in sorted(names):
            for value in values:
                attempt = {name: value}
                complaint = self.complaint("LoadScenario", attempt)
                self.assertEqual(validator.is_valid(attempt), complaint == "", (attempt, complaint))

    def test_defaults_are_accepted(self):
        def check(part, method, document, definition):
            for name, member in resolved(part).get("properties", {}).items():
                if "default" in resolved(member):
                    attempt = {**document, name: resolved(member)["default"]}
                    self.assertEqual(self.complaint(method, attempt), "", attempt)
                    self.assertTrue(self.part_validator(definition).is_valid(attempt), attempt)

        for name, part in branches("fault", "kind").items():
            document, _ = self.smallest("ArmFault", {"kind": name})
            for properties in (part, SCHEMA["$defs"]["fault"]):
                check(properties, "ArmFault", document, "fault")
        for name, part in branches("step", "do").items():
            document, _ = self.smallest("AddStep", {"do": name})
            check(part, "AddStep", document, "step")


if __name__ == "__main__":
    unittest.main()
