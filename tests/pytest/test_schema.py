"""Tests the JSON Schema of launch lists with the validator of Debian's package.

The examples and the right lists below are valid. The wrong lists are not, each for the one
thing that is wrong with it. launchlist-check has the same opinion.
"""

import json
import subprocess

import jsonschema
import pytest

from support import ROOT

SCHEMA = json.loads((ROOT / "packaging/launch-list.schema.json").read_text())
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


def each(lists):
    return pytest.mark.parametrize("value", lists.values(), ids=lists.keys())


@pytest.fixture(scope="module")
def validator():
    return jsonschema.Draft202012Validator(SCHEMA)


@pytest.fixture
def findings(value, build):
    """What launchlist-check finds in the list."""
    run = subprocess.run([build / "tools/launchlist_check/launchlist-check", "--json", "-"],
                         input=json.dumps(value), text=True, stdout=subprocess.PIPE,
                         check=False)
    return json.loads(run.stdout)["files"][0]["findings"]


def test_the_schema_is_one():
    jsonschema.Draft202012Validator.check_schema(SCHEMA)


@pytest.mark.parametrize("file", sorted(ROOT.glob("examples/**/*.json")), ids=lambda file: file.name)
def test_an_example_is_valid(file, validator):
    validator.validate(json.loads(file.read_text()))


@each({**RIGHT, **IGNORED})
def test_a_right_list_is_valid(value, validator):
    validator.validate(value)


@each(WRONG)
def test_a_wrong_list_is_invalid(value, validator):
    assert not validator.is_valid(value)


@each(RIGHT)
def test_launchlist_check_finds_nothing_in_a_right_list(findings):
    assert findings == []


@each({**WRONG, **IGNORED})
def test_launchlist_check_finds_something_in_any_other_list(findings):
    assert findings != []


@pytest.mark.parametrize("member", SCHEMA["$defs"]["item"]["properties"].values(),
                         ids=SCHEMA["$defs"]["item"]["properties"].keys())
def test_an_editor_shows_something_for_each_member(member):
    assert member.get("description")
