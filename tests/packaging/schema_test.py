#!/usr/bin/python3
"""Tests the JSON Schema of launch lists, with the validator of Debian's packages:

    schema_test.py SCHEMA EXAMPLES_FOLDER CHECKER

The examples are valid, and so are the right lists below; the wrong ones are not, each for
the one thing that is wrong with it. CHECKER, launchlist-check, has the same opinion.
"""

import json
import pathlib
import subprocess
import sys

import jsonschema

ITEM = {"name": "a", "program": "/bin/sh"}


def with_members(**members):
    return {"0": {**ITEM, **members}}


def without(member):
    return {"0": {key: value for key, value in ITEM.items() if key != member}}


RIGHT = {
    "one item": {"0": ITEM},
    "two items": {"0": ITEM, "1": {"name": "b", "program": "/bin/sh"}},
    "the name of the schema": {"$schema": "launch-list.schema.json", "0": ITEM},
    "arguments": with_members(argc=2, args={"0": "-c", "1": ""}),
    "an integer with a fraction of nothing": with_members(argc=1.0, args={"0": "x"}),
    "a count of 0": with_members(argc=0),
    "no arguments at all": with_members(argc=0, args={}),
}

WRONG = {
    "no items": {},
    "no item 0": {"1": ITEM},
    "an array": [ITEM],
    "null": None,
    "a leading zero": {"0": ITEM, "01": ITEM},
    "a sign": {"0": ITEM, "+1": ITEM},
    "a blank": {"0": ITEM, " 1": ITEM},
    "a fraction": {"0": ITEM, "1.0": ITEM},
    "an item that is no object": {"0": "a"},
    "an item that is null": {"0": None},
    "no name": without("name"),
    "a name that is a number": with_members(name=7),
    "a name that is null": with_members(name=None),
    "an empty name": with_members(name=""),
    "a line feed in the name": with_members(name="a\nb"),
    "no program": without("program"),
    "a program that is an array": with_members(program=["/bin/sh"]),
    "an empty program": with_members(program=""),
    "a relative program": with_members(program="bin/sh"),
    "a zero character in the program": with_members(program="/bin/sh\0"),
    "a count that is a string": with_members(argc="1", args={"0": "x"}),
    "a count that is true": with_members(argc=True, args={"0": "x"}),
    "a count that is null": with_members(argc=None, args={}),
    "a count with a fraction": with_members(argc=1.5, args={"0": "x"}),
    "a negative count": with_members(argc=-1),
    "a count too large": with_members(argc=1048576, args={"0": "x"}),
    "a count without arguments": with_members(argc=1),
    "arguments without a count": with_members(args={"0": "x"}),
    "an array of arguments": with_members(argc=1, args=["x"]),
    "arguments that are null": with_members(argc=1, args=None),
    "an argument that is a number": with_members(argc=1, args={"0": 7000}),
    "an argument with a wrong key": with_members(argc=1, args={"0": "x", "01": "y"}),
    "a zero character in an argument": with_members(argc=1, args={"0": "x\0"}),
}

# Right for the schema: the launcher ignores it, and nothing that it needs is missing.
IGNORED = {
    "a key that is no number": {"0": ITEM, "comment": "mine"},
    "an unknown member": with_members(owner="me"),
}

failures = 0


def expect(condition, words):
    global failures
    if not condition:
        print("FAILED:", words)
        failures += 1


def check(checker, value):
    """Returns what the checker finds in the list."""
    run = subprocess.run([checker, "--json", "-"], input=json.dumps(value), text=True,
                         stdout=subprocess.PIPE, check=False)
    return json.loads(run.stdout)["files"][0]["findings"]


def main(schema_file, examples, checker):
    schema = json.loads(pathlib.Path(schema_file).read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)

    files = sorted(pathlib.Path(examples).rglob("*.json"))
    expect(files, f"there are examples in {examples}")
    for file in files:
        for error in validator.iter_errors(json.loads(file.read_text(encoding="utf-8"))):
            expect(False, f"{file} is valid: {error.message}")
    for words, value in {**RIGHT, **IGNORED}.items():
        for error in validator.iter_errors(value):
            expect(False, f"{words} is valid: {error.message}")
    for words, value in WRONG.items():
        expect(not validator.is_valid(value), f"{words} is invalid")

    for words, value in RIGHT.items():
        expect(check(checker, value) == [], f"{words} has no finding")
    for words, value in {**WRONG, **IGNORED}.items():
        expect(check(checker, value) != [], f"{words} has a finding")

    for name, member in schema["$defs"]["item"]["properties"].items():
        expect(member.get("description"), f"an editor shows something for {name}")


main(*sys.argv[1:])
print("failures:", failures)
sys.exit(1 if failures else 0)
