"""Tests what launchlist-export writes for engines that read it as YAML and as XML, and its
command line.

test_launchlist_export_engines.py has systemd and supervisord read it.
"""

import plistlib
import re
import subprocess

import pytest
import yaml

from random_arguments import CAN_HOLD, new_source, random_texts, write_list
from support import item, run
import support

FORMATS = sorted(CAN_HOLD)


@pytest.fixture
def export(build, tmp_path, monkeypatch):
    """Runs the tool on list.json in the current folder, which is empty otherwise."""
    monkeypatch.chdir(tmp_path)

    def export_list(*arguments):
        return run(build / "tools/launchlist_export/launchlist-export", *arguments)

    return export_list


def random_items(source, can_hold, count=300):
    """Returns items with hostile names, and up to seven random arguments each."""
    names = {}
    for name in random_texts(source, 2 * count):
        names.setdefault(name, None)
    return [(name, [b"/" + random_texts(source, 1, can_hold)[0],
                    *random_texts(source, source.randrange(8), can_hold)])
            for name in list(names)[:count]]


def expand(text):
    """Returns what Kubernetes makes of an argument: $$ is $, and $(NAME) a value.

    It damages a character after a single $ that is not ASCII.
    """
    def replace(match):
        found = match[0]
        if found == "$$":
            return "$"
        return "VALUE" if found.startswith("$(") else "DAMAGED"

    return re.sub(r"\$\$|\$\([^)]*\)|\$[^\x00-\x7f]", replace, text)


def test_a_manifest_has_the_same_arguments(export, tmp_path):
    items = random_items(new_source(), CAN_HOLD["kube"])
    write_list(tmp_path / "list.json", items)
    printed = export("kube", "list.json").expect(0).output
    pod = yaml.safe_load(printed)
    containers = pod["spec"]["containers"]
    assert [[expand(text).encode() for text in container["command"] + container.get("args", [])]
            for container in containers] == [arguments for _, arguments in items]
    names = [container["name"] for container in containers]
    assert len(set(names)) == len(names)
    assert [name for name in names if not re.fullmatch("[a-z0-9]([a-z0-9-]{,61}[a-z0-9])?", name)
            ] == []


def test_a_property_list_has_the_same_arguments(export, tmp_path):
    items = random_items(new_source(), CAN_HOLD["launchd"])
    write_list(tmp_path / "list.json", items)
    (tmp_path / "agents").mkdir()
    printed = export("launchd", "--directory", "agents", "list.json").expect(0).output
    lists = [plistlib.loads((tmp_path / file).read_bytes()) for file in printed.splitlines()]
    assert [[text.encode() for text in found["ProgramArguments"]] for found in lists] == [
        arguments for _, arguments in items]
    assert [f"agents/{found['Label']}.plist" for found in lists] == printed.splitlines()
    assert all(found["KeepAlive"] is True for found in lists)


@pytest.mark.parametrize("engine", FORMATS)
def test_a_list_is_refused_if_and_only_if_the_engine_cannot_hold_it(engine, export, tmp_path):
    source = new_source()
    texts = random_texts(source, 500)
    write_list(tmp_path / "list.json",
               [(b"%d" % number, [b"/p", text]) for number, text in enumerate(texts)])
    command = export(engine, "list.json")
    refused = {int(number) for number in
               re.findall(r'^launchlist-export: item "(\d+)": argument "0" ', command.output, re.M)}
    assert refused == {number for number, text in enumerate(texts) if not CAN_HOLD[engine](text)}
    assert command.code == (1 if refused else 0)
    if refused:
        assert command.output.count("\n") == len(refused)


def test_files_are_written_into_the_directory(export, tmp_path):
    support.write_list(tmp_path / "list.json", item("b", "/q"), item("a", "/p"))
    shown = export("systemd", "list.json").expect(0).output
    (tmp_path / "units").mkdir()
    export("systemd", "--directory", "units", "list.json").expect(0)
    files = [tmp_path / "units" / name for name in ("launchlist-b.service", "launchlist-a.service")]
    assert sorted((tmp_path / "units").iterdir()) == sorted(files)
    assert shown == "\n".join(file.read_text() for file in files)
    export("systemd", "--directory", "nowhere", "list.json").expect_only(
        1, "launchlist-export: nowhere/launchlist-b.service: .*No such file or directory")


def test_the_image_is_named(export, tmp_path):
    support.write_list(tmp_path / "list.json", item("a", "/p"))

    def image(*arguments):
        return yaml.safe_load(export("kube", *arguments, "list.json").expect(0).output)[
            "spec"]["containers"][0]["image"]

    assert image() == "localhost/programs"
    assert image("--image", "a/b: c") == "a/b: c"


def test_what_the_launcher_would_not_start_is_left_out(export, tmp_path):
    support.write_list(tmp_path / "list.json", item("a", "/p"), {}, item("b", ""), item("a", "/q"))
    printed = export("supervisord", "list.json").expect(
        0, "; Left out: item 1 has no name", '; Left out: item "b" has no program',
        "; Left out: an item has the same name as item 3, which replaces it",
        "command='/q'").output
    assert printed.count("[program:") == 1


@pytest.mark.parametrize("items, message", [
    ([], "the list has no program that the launcher would start"),
    ([item("b", "")], "the list has no program that the launcher would start"),
    ([item("b", "bin/p")], 'item "b": its program is a relative path, .*'),
    ([{"name": "b\n", "program": "/p", "argc": -1}],
     r'item "b\\x0A": "argc" is negative, .*'),
])
@pytest.mark.parametrize("engine", FORMATS)
def test_what_no_engine_can_pass_on_is_refused(engine, items, message, export, tmp_path):
    support.write_list(tmp_path / "list.json", *items)
    export(engine, "list.json").expect_only(1, f"launchlist-export: {message}")


@pytest.mark.parametrize("text, problem", [
    ("{", "the list is not JSON"), ('{"0": 7}', "the list has values of wrong types")])
def test_a_list_that_cannot_be_read_is_wrong_use(text, problem, export, tmp_path):
    (tmp_path / "list.json").write_text(text)
    export("kube", "list.json").expect_only(2, f"launchlist-export: list.json: {problem}")


@pytest.mark.parametrize("arguments, problem", [
    ([], "it takes a format and a launch list"),
    (["kube"], "it takes a format and a launch list"),
    (["kube", "a", "b"], "it takes a format and a launch list"),
    (["cron\n", "list.json"], r"unknown format cron\\x0A"),
    (["systemd", "--image", "a", "list.json"], "--image is for kube"),
    (["kube", "--image", "", "list.json"], "--image needs a name, in UTF-8"),
    (["kube", "--image", "\udcff", "list.json"], "--image needs a name, in UTF-8"),
    (["--json", "kube", "list.json"], "unknown option --json"),
    (["kube", "nothing.json"], "nothing.json: the list cannot be read"),
])
def test_wrong_use_is_explained(arguments, problem, export):
    export(*arguments).expect_only(2, f"launchlist-export: {problem}(; --help tells more)?")


def test_output_that_cannot_be_written_is_no_success(export, build, tmp_path):
    support.write_list(tmp_path / "list.json", item("a", "/p"))
    tool = build / "tools/launchlist_export/launchlist-export"
    with open("/dev/full", "wb") as full:
        assert subprocess.run([tool, "kube", "list.json"], stdout=full, check=False).returncode == 1


def test_the_list_may_come_from_the_standard_input(export, build, tmp_path):
    support.write_list(tmp_path / "list.json", item("a", "/p"))
    tool = build / "tools/launchlist_export/launchlist-export"
    with open("list.json", "rb") as text:
        printed = subprocess.check_output([tool, "kube", "-"], stdin=text, text=True)
    assert printed == export("kube", "list.json").output
