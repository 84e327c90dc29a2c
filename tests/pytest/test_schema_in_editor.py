"""Tests the JSON Schema of launch lists with a strict validator, and in the JSON language
service of an editor. npm fetches both into build/editor."""

import json
import re
import subprocess

import pytest

from support import ROOT, npm_modules

EDITOR = ROOT / "tests/pytest/editor"
SCHEMA = ROOT / "packaging/launch-list.schema.json"
EXAMPLES = [file.read_text() for file in sorted(ROOT.glob("examples/*.json"))]
ITEM = '{ "name": "steady", "program": "/bin/sleep", "argc": 1, "args": { "0": "9" } }'
# The documentation shows the line of a list that tells an editor where the schema is.
SCHEMA_LINE, SCHEMA_URI = re.search(r'("\$schema": "(.*)",)\n',
                                    (ROOT / "docs/operating.md").read_text()).groups()


def with_schema(text):
    return text.replace("{", "{ " + SCHEMA_LINE, 1)


@pytest.fixture(scope="session")
def modules():
    return npm_modules(EDITOR)


@pytest.fixture
def ask(modules):
    """A function that returns what editor/ask.js says of each of the texts."""
    def ask_about(*texts):
        output = subprocess.check_output(["node", EDITOR / "ask.js", modules, SCHEMA],
                                         input=json.dumps(texts), text=True, timeout=60)
        return json.loads(output)
    return ask_about


def test_the_strict_validator_takes_the_schema_and_the_examples(ask):
    assert EXAMPLES
    assert [answer["errors"] for answer in ask(*EXAMPLES)] == [[]] * len(EXAMPLES)
    for answer in ask("{}", f'{{ "1": {ITEM} }}', '{ "$schema": "a" }'):
        assert "must have required property '0'" in answer["errors"]


def test_an_editor_reads_the_installed_schema(ask):
    [answer] = ask(with_schema("{}"))
    assert answer["schemas"] == [SCHEMA_URI] == [
        "file:///usr/share/tamlin/launch-list.schema.json"]


def test_an_editor_finds_nothing_wrong_with_a_right_list(ask):
    lists = [f'{{ "0": {ITEM} }}', *EXAMPLES]
    answers = ask(*map(with_schema, lists))
    assert [answer["problems"] for answer in answers] == [[]] * len(lists)


def test_an_editor_says_what_is_wrong_with_a_list(ask):
    answers = ask(*map(with_schema, [
        '{ "1": { "name": "a", "program": "/a" } }',
        '{ "0": { "name": "a" } }',
        '{ "0": { "name": "a", "program": "/a", "argc": "1" } }',
        '{ "0": { "name": "a", "program": "a" } }',
        f'{{ "0": {ITEM}, "01": {ITEM} }}']))
    problems = [answer["problems"] for answer in answers]
    assert problems[:3] == [['Missing property "0".'], ['Missing property "program".'],
                            ['Incorrect type. Expected "integer".']]
    assert [len(found) for found in problems[3:]] == [1, 1]


def test_an_editor_explains_a_member_under_the_cursor(ask):
    def plain(text):
        return re.sub(r"[^\w ]", "", text)

    members = json.loads(SCHEMA.read_text())["$defs"]["item"]["properties"]
    names = ["name", "program", "argc", "args"]
    answers = ask(*[with_schema(f'{{ "0": {ITEM} }}'.replace(f'"{name}"', f'"{name}|"'))
                    for name in names])
    assert [plain(answer["hover"]) for answer in answers] == [
        plain(members[name]["description"]) for name in names]


def test_an_editor_explains_the_number_of_an_item_under_the_cursor(ask):
    for answer in ask(with_schema(f'{{ "0|": {ITEM} }}'),
                      with_schema(f'{{ "0": {ITEM}, "12|": {ITEM} }}')):
        assert "A program to keep running" in answer["hover"]


def test_an_editor_completes_the_members_of_an_item(ask):
    answers = ask(*map(with_schema, ["{ | }", '{ "0": { | } }', '{ "7": { "name": "a", | } }']))
    assert [answer["completions"] for answer in answers] == [
        ["0"], ["argc", "args", "name", "program"], ["argc", "args", "program"]]
