"""Tests the unit for systemd: a systemd of a user starts it, restarts and stops it.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_unit.py

It needs root, who may give a user a control group.
"""

import os
import pathlib
import signal

import pytest

from support import (expect_line, item, log_in, is_alive, mounted, ps, read_pid, wait_until,
                     write_list)
import user_systemd


class Manager(user_systemd.Manager):
    """The systemd of a user, and what the programs of the user's list main write."""

    def __init__(self, folder):
        super().__init__(folder)
        self.lists = self.home / ".config/tamlin"

    def properties(self, name, *names):
        """Returns properties of the unit for the list of that name."""
        shown = self.systemctl("show", f"tamlin-launcher@{name}",
                               f"--property={','.join(names)}").output
        return dict(line.split("=", 1) for line in shown.splitlines())

    def launcher(self):
        return int(self.properties("main", "MainPID")["MainPID"])

    def pid_files(self):
        return [self.home / f"running.{name}" for name in ("steady", "once", "child", "polite")]

    def programs(self):
        """Waits until all programs run, and returns their process ids."""
        return [read_pid(file) for file in self.pid_files()]


@pytest.fixture(scope="module")
def manager(module_home, prefix):
    """Runs systemd as a user, who has the prefix in /usr/local."""
    user = Manager(module_home)
    user.make_folders(user.lists)
    with mounted("--bind", prefix, "/usr/local"), user.running():
        yield user


@pytest.fixture
def unit(manager):
    """The manager, and the unit for the list main is running.

    One of its programs ends once, so that the launcher has long started when the other
    runs on, and one leaves a process behind.
    """
    write_list(
        manager.lists / "main.json",
        item("steady", "/bin/sh", "-c",
             "sleep 1000 & echo $! >running.child; echo $$ >running.steady; exec sleep 1001"),
        item("polite", "/usr/local/bin/launch-with", "--", "/bin/sh", "-c",
             "trap 'echo bye >polite; exit' TERM; echo $$ >running.polite; sleep 1003 & wait"),
        item("once", "/bin/sh", "-c",
             "[ -e ended ] || { : >ended; exit 3; }; echo $$ >running.once; exec sleep 1002"))
    if not manager.launcher():
        for file in manager.pid_files():
            file.unlink(missing_ok=True)
    manager.systemctl("enable", "--now", "tamlin-launcher@main").expect(0)
    manager.programs()
    return manager


def test_systemd_finds_no_fault_in_the_unit(manager):
    manager.run("systemd-analyze", "--user", "verify", "tamlin-launcher@main.service").expect(
        0).expect_no("tamlin")


def test_the_unit_starts_the_programs_of_the_list_in_a_session_of_their_own(unit):
    launcher = unit.launcher()
    shown = ps("-o", "comm=,sid=,pgid=,user=", "-p", launcher)[0]
    assert shown.split() == ["launcher", str(launcher), str(launcher), "user"]
    expect_line(".* once .* status = 768", log_in(unit.home).read_text())


def test_the_programs_get_sigpipe_as_from_a_shell(unit):
    status = pathlib.Path(f"/proc/{read_pid(unit.home / 'running.steady')}/status").read_text()
    ignored = int(status.split("SigIgn:")[1].split()[0], 16)
    assert not ignored >> (signal.SIGPIPE - 1) & 1


def test_a_launcher_that_was_killed_is_started_again_without_its_old_programs(unit):
    old = [unit.launcher(), *unit.programs()]
    for file in unit.pid_files():
        file.unlink()
    assert old[0] > 1
    os.kill(old[0], signal.SIGKILL)
    unit.programs()
    assert not [pid for pid in old if is_alive(pid)]


def test_a_stop_ends_all_and_is_a_success(unit):
    programs = unit.programs()
    unit.systemctl("stop", "tamlin-launcher@main").expect(0)
    assert unit.properties("main", "Result", "ActiveState", "ExecMainStatus") == {
        "ActiveState": "inactive", "ExecMainStatus": "1", "Result": "success"}
    assert not [pid for pid in programs if is_alive(pid)]
    ends = [line for line in log_in(unit.home).read_text().splitlines() if " steady " in line]
    assert len(ends) == 1 and ends[0].endswith(" status = 9")
    assert (unit.home / "polite").read_text() == "bye\n"
    left = ps("-u", user_systemd.USER, "-o", "args=")
    assert [line for line in left if "/systemd " not in line] == []


def test_a_list_with_errors_is_a_failure_and_not_tried_again(manager):
    write_list(manager.lists / "wrong.json", item("late", "/nothing/here"))
    manager.systemctl("start", "tamlin-launcher@wrong")
    wait_until(lambda: manager.properties("wrong", "ActiveState") == {"ActiveState": "failed"})
    assert manager.properties("wrong", "NRestarts", "ExecMainStatus", "Result") == {
        "ExecMainStatus": "2", "NRestarts": "0", "Result": "exit-code"}
