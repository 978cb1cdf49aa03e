# SPDX-License-Identifier: MIT
"""What the tests of the protocol share: its schema, and the forms that each message can have."""

import itertools
import json
import pathlib
import sys

try:
    import jsonschema
except ImportError as error:
    sys.exit(f"the Python package jsonschema is needed (python3-jsonschema): {error}")

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = json.loads((ROOT / "schemas/protocol.schema.json").read_text(encoding="utf-8"))
DEFINITIONS = SCHEMA["$defs"]
REQUESTS = ["openSession", "closeSession", "getModeList", "getMode", "setMode", "registerAudioStream",
            "requestAudioFocus", "audioActive", "abandonAudioFocus"]
CALLS = ["onModeChange", "onModeListChange", "onRequestAudioFocusResult", "onAudioFocusChange"]
BROADCAST = "audioFocusChangeEvent"
# What travels: the names of definitions. What the client says is not open to additions.
SENT = [f"{name}.arguments" for name in REQUESTS] + [f"{name}.result" for name in CALLS]
RECEIVED = [f"{name}.result" for name in REQUESTS] + [f"{name}.arguments" for name in CALLS]
MESSAGES = [*SENT, *RECEIVED, f"{BROADCAST}.payload", "error"]
SAMPLES = {"array": ["text"], "string": "text", "any": "text"}
ABSENT = "absent"

RECORD_VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)
VALIDATORS = {name: jsonschema.Draft202012Validator({"$ref": f"#/$defs/{name}", "$defs": DEFINITIONS})
              for name in DEFINITIONS}


def resolved(schema):
    """A schema with what it refers to; its own members go before."""
    if "$ref" in schema:
        return {**resolved(DEFINITIONS[schema["$ref"].rpartition("/")[2]]), **schema}
    return schema


def members(name):
    """The schemas of a message's members, by key; those of any key under "*"."""
    schema = resolved(DEFINITIONS[name])
    found = {key: resolved(member) for key, member in schema.get("properties", {}).items() if member is not False}
    if schema.get("additionalProperties"):
        found["*"] = resolved(schema["additionalProperties"])
    return found


def is_required(name, key):
    return key == "*" or key in resolved(DEFINITIONS[name]).get("required", [])


def states(member):
    """The values of a member that the schema tells apart."""
    if member.get("type") == "boolean":
        return [True, False]
    return member.get("enum") or [choice["type"] for choice in member.get("anyOf", [])] or ["any"]


def state(member, value):
    """The one of these that a value has."""
    if "anyOf" in member:
        return "array" if isinstance(value, list) else "string"
    return value if "enum" in member or member.get("type") == "boolean" else "any"


def form_text(name, form):
    distinct = [f"{key} {json.dumps(value)}" for key, value in form.items() if value != "any"]
    return f"{name}: {', '.join(distinct)}" if distinct else name


def instance(name, form):
    """A message of a form."""
    example = DEFINITIONS[name]["examples"][0]
    values = {"someKey" if key == "*" else key: SAMPLES.get(value, value) if value != "any" else example.get(key, "text")
              for key, value in form.items() if value != ABSENT}
    return values


def forms(name):
    """All forms that a message can have, as texts: each choice of a member with each other, if the schema allows it."""
    choices = {key: states(member) + ([] if is_required(name, key) else [ABSENT])
               for key, member in members(name).items()}
    combinations = [dict(zip(choices, values)) for values in itertools.product(*choices.values())]
    return {form_text(name, form) for form in combinations if VALIDATORS[name].is_valid(instance(name, form))}


def forms_of(name, content):
    """The forms, as texts, that a valid message has: one; more when it has several members of any key."""
    known = members(name)
    if "*" in known:
        return {form_text(name, {"*": state(known["*"], value)}) for value in content.values()}
    return {form_text(name, {key: state(member, content[key]) if key in content else ABSENT
                             for key, member in known.items()})}
