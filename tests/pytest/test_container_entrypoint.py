"""Tests packaging/container-entrypoint with stand-ins for the launcher and launcher-stop."""

import signal

import pytest

from support import ROOT, Command, read_pid, run, wait_until

ENTRYPOINT = ROOT / "packaging/container-entrypoint"


@pytest.fixture
def start(tmp_path):
    """Returns a function that starts the script, where these scripts are its commands."""
    def start(launcher, stop="exit 0"):
        for name, body in (("tamlin-launcher", launcher), ("launcher-stop", stop)):
            file = tmp_path / name
            file.write_text(f'#!/bin/sh\necho {name} "$@"\n{body}\n')
            file.chmod(0o755)
        return Command(ENTRYPOINT, "main", "list.json", cwd=tmp_path,
                       env={"PATH": f"{tmp_path}:/usr/bin:/bin"})
    return start


@pytest.mark.parametrize("end, code", [
    ("exit 1", 0), ("exit 0", 1), ("exit 2", 2), ("exit 75", 75), ("kill -KILL $$", 137)])
def test_the_launchers_normal_end_is_0_and_its_failed_start_is_1(start, end, code):
    with start(end) as command:
        command.wait().expect(code, "tamlin-launcher main list.json",
                              "launcher-stop --leftovers list.json")


def test_sigterm_stops_the_launcher_by_its_process_id(start, tmp_path):
    with start("echo $$ >pid; exec sleep 1000", 'kill -KILL "$1"; exit 0') as command:
        pid = read_pid(tmp_path / "pid")
        command.send(signal.SIGTERM)
        assert command.wait().output == (
            f"tamlin-launcher main list.json\nlauncher-stop {pid}\n")
        command.expect(0)


def test_without_a_launcher_to_stop_sigterm_ends_the_check_of_the_list(start):
    with start("echo checking; exec sleep 1000", "exit 2") as command:
        wait_until(lambda: "checking" in command.output)
        command.send(signal.SIGTERM)
        command.wait().expect(143, "launcher-stop --leftovers list.json")


def test_the_launcher_runs_in_a_session_of_its_own(start):
    with start('ps -o sess= -p $$ | grep -qw $$ && echo "session of its own"') as command:
        command.wait().expect(1, "session of its own")


def test_programs_inherit_no_ignored_signals(start):
    with start('grep -q "^SigIgn:.0*$" /proc/$$/status && echo "none is ignored"') as command:
        command.wait().expect(1, "none is ignored")


def test_without_a_list_it_says_how_it_is_called():
    run(ENTRYPOINT).expect(2, "call it as: container-entrypoint NAME LIST.json")
