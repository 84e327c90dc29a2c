"""Tests the shells' completions of the programs' options, launch lists and logs."""

import pytest

from shells import complete_in_bash, complete_in_fish, shown_by_zsh


@pytest.fixture(autouse=True)
def folder(tmp_path, monkeypatch):
    """The current folder, with files of several kinds."""
    monkeypatch.chdir(tmp_path)
    for name in ("lists", "more lists"):
        (tmp_path / name).mkdir()
    for name in ("list.json", "my list.json", "notes.txt", "launcher.log", "launcher.log.0"):
        (tmp_path / name).touch()


@pytest.mark.parametrize("words, option", [
    (["launcher-status", "--j"], "--json"),
    (["launcher-stop", "--l"], "--leftovers"),
    (["launch-with", "--ta"], "--tail"),
    (["launchlist-check", "--s"], "--strict"),
    (["launchlist-check", "--json", "--s"], "--strict"),
    (["launchlist-export", "--d"], "--directory"),
    (["launchlist-export", "l"], "launchd"),
    (["launchlog-report", "--n"], "--now"),
    (["tamlin-launcher", "--a"], "--anyway"),
])
def test_bash_completes_options(words, option):
    assert complete_in_bash(*words) == [option]


@pytest.mark.parametrize("words, files", [
    (["launchlist-check", ""], ["list.json", "lists", "more lists", "my list.json"]),
    (["launchlist-check", "--json", "m"], ["more lists", "my list.json"]),
    (["launchlist-export", "kube", "l"], ["list.json", "lists"]),
    (["launcher-status", "li"], ["list.json", "lists"]),
    (["launcher-stop", "--leftovers", "m"], ["more lists", "my list.json"]),
    (["tamlin-launcher", "main", "li"], ["list.json", "lists"]),
])
def test_bash_completes_lists_and_folders(words, files):
    assert complete_in_bash(*words) == files


def test_bash_completes_logs_but_no_time():
    assert complete_in_bash("launchlog-report", "--follow", "launcher") == [
        "launcher.log", "launcher.log.0"]
    for option in ("--now", "--since", "--until"):
        assert complete_in_bash("launchlog-report", option, "") == []


def test_bash_completes_the_keys_of_sort():
    assert complete_in_bash("launchlog-report", "--sort", "l") == ["last-end"]
    assert complete_in_bash("launchlog-report", "--sort", "") == [
        "first-end", "last-end", "marked", "name", "per-minute", "restarts"]


@pytest.mark.parametrize("line, option", [
    ("launcher-status --wa", "--watch"),
    ("launcher-stop --le", "--leftovers"),
    ("launch-with --ta", "--tail"),
    ("launchlist-check --st", "--strict"),
    ("launchlist-export --di", "--directory"),
    ("launchlist-export su", "supervisord"),
    ("launchlog-report --fo", "--follow"),
    ("launchlog-report --sort per", "per-minute"),
    ("tamlin-launcher --an", "--anyway"),
])
def test_zsh_completes_options(line, option):
    assert option in shown_by_zsh(line, option)


@pytest.mark.parametrize("line, file", [
    ("launcher-status my", "list.json"),
    ("launcher-stop my", "list.json"),
    ("launchlist-check my", "list.json"),
    ("launchlist-export kube my", "list.json"),
    ("launchlog-report launcher.log.", "launcher.log.0"),
    ("tamlin-launcher main my", "list.json"),
])
def test_zsh_completes_lists_and_logs(line, file):
    assert file in shown_by_zsh(line, file)


@pytest.mark.parametrize("line, option", [
    ("launchlist-check --st", "--strict"),
    ("launchlist-check --json --st", "--strict"),
    ("launcher-status --w", "--watch"),
    ("launcher-stop --l", "--leftovers"),
    ("launch-with --ta", "--tail"),
    ("launchlist-export --d", "--directory"),
    ("launchlist-export ku", "kube"),
    ("launchlog-report --fo", "--follow"),
    ("tamlin-launcher --a", "--anyway"),
])
def test_fish_completes_options(line, option):
    assert complete_in_fish(line) == [option]


@pytest.mark.parametrize("line, files", [
    ("launchlist-check ", ["list.json", "lists/", "more lists/", "my list.json"]),
    ("launchlist-check --json m", ["more lists/", "my list.json"]),
    ("launchlist-export kube li", ["list.json", "lists/"]),
    ("launcher-status li", ["list.json", "lists/"]),
    ("launcher-stop --leftovers m", ["more lists/", "my list.json"]),
    ("tamlin-launcher main li", ["list.json", "lists/"]),
])
def test_fish_completes_lists_and_folders(line, files):
    assert complete_in_fish(line) == files


def test_fish_completes_logs_but_no_time():
    assert complete_in_fish("launchlog-report --follow launcher") == [
        "launcher.log", "launcher.log.0"]
    for option in ("--now", "--since", "--until"):
        assert complete_in_fish(f"launchlog-report {option} ") == []


def test_fish_completes_the_keys_of_sort():
    assert complete_in_fish("launchlog-report --sort la") == ["last-end"]


def test_values_of_launch_with_are_completed():
    assert complete_in_bash("launch-with", "--stop-signal", "US") == ["USR1", "USR2"]
    assert complete_in_bash("launch-with", "--limit", "no") == ["nofile="]
    assert complete_in_bash("launch-with", "--grace", "") == []
    assert complete_in_fish("launch-with --stop-signal US") == ["USR1", "USR2"]
    assert complete_in_fish("launch-with --grace ") == []
