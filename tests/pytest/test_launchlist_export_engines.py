"""Tests that the programs of a launch list get the same arguments from systemd and from
supervisord, with what launchlist-export writes, as from the launcher.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_launchlist_export_engines.py

It needs root, who may give a user a control group.
"""

import contextlib
import os
import pathlib
import shutil
import signal

import pytest

from random_arguments import CAN_HOLD, new_source, random_texts, write_list
from support import Command, item, run, wait_until
import support
import user_systemd

ITEMS = 40
# What systemd refuses in a path.
REFUSED_IN_PATHS = set(b"\"'\\\x7f") | set(range(0x20))


def can_be_a_directory(engine, text):
    return CAN_HOLD[engine](text) and b"/" not in text and text not in (b"", b".", b"..") and (
        engine != "systemd" or not REFUSED_IN_PATHS & set(text))


def random_items(engine, folder, program):
    """Returns items with copies of the program, each in a directory with a random name."""
    source = new_source()
    names = dict.fromkeys(random_texts(source, 3 * ITEMS,
                                       lambda text: can_be_a_directory(engine, text)))
    items = []
    for name in list(names)[:ITEMS]:
        path = os.path.join(os.fsencode(folder), name, b"p")
        os.mkdir(os.path.dirname(path))
        shutil.copy(program, path)
        items.append((name, [path, *random_texts(source, source.randrange(8),
                                                 CAN_HOLD[engine])]))
    return items


def wait_for_arguments(items):
    """Waits until all programs run, and returns the arguments that each has got."""
    written = [pathlib.Path(os.fsdecode(arguments[0] + b".arguments")) for _, arguments in items]
    wait_until(lambda: all(file.exists() for file in written))
    texts = [file.read_bytes() for file in written]
    for file in written:
        file.unlink()
    return [text.split(b"\0")[:-1] for text in texts]


def arguments_from_launcher(build, file, items):
    with Command(build / "Tamlin.app/Contents/MacOS/launcher", "main", file):
        arguments = wait_for_arguments(items)
        run(build / "tools/launcher_stop/launcher-stop", file).expect(0)
    return arguments


def export(build, *arguments):
    return run(build / "tools/launchlist_export/launchlist-export", *arguments).expect(0).output


@pytest.fixture
def program(build):
    return build / "tests/tools/launchlist_export/write_arguments"


class Systemd(user_systemd.Manager):
    """The systemd of a user, who has the units of a list."""

    def __init__(self, folder):
        super().__init__(folder)
        self.units = self.home / ".config/systemd/user"

    def start(self, build, file):
        """Starts the programs of the list."""
        printed = export(build, "systemd", "--directory", self.units, file)
        self.own(self.home)
        self.systemctl("daemon-reload").expect(0)
        names = [pathlib.Path(line).name for line in printed.splitlines()]
        self.systemctl("start", *names).expect(0)
        return names


@pytest.fixture(scope="module")
def systemd(module_home):
    user = Systemd(module_home)
    user.make_folders(user.units)
    with user.running():
        yield user


@contextlib.contextmanager
def supervisord(build, folder, file):
    """Runs supervisord with the programs of the list."""
    (folder / "agents.conf").write_bytes(os.fsencode(export(build, "supervisord", file)))
    (folder / "supervisord.conf").write_text(
        f"[supervisord]\nnodaemon=true\nuser=root\nlogfile={folder}/log\n"
        f"pidfile={folder}/pid\n[include]\nfiles=agents.conf\n")
    with Command("/usr/bin/supervisord", "-c", folder / "supervisord.conf", cwd=folder,
                 env={"LC_ALL": "C.UTF-8"}) as command:
        yield
        command.send(signal.SIGTERM)
        command.wait().expect(0)


def test_arguments_from_systemd_are_those_from_the_launcher(systemd, build, program):
    folder = systemd.home / "programs"
    folder.mkdir()
    items = random_items("systemd", folder, program)
    file = write_list(systemd.home / "list.json", items)
    systemd.own(systemd.home)
    expected = [arguments for _, arguments in items]
    assert arguments_from_launcher(build, file, items) == expected
    units = systemd.start(build, file)
    assert wait_for_arguments(items) == expected
    systemd.systemctl("stop", *units).expect(0)


def test_arguments_from_supervisord_are_those_from_the_launcher(home, build, program):
    folder = home / "programs"
    folder.mkdir()
    items = random_items("supervisord", folder, program)
    file = write_list(home / "list.json", items)
    expected = [arguments for _, arguments in items]
    assert arguments_from_launcher(build, file, items) == expected
    with supervisord(build, home, file):
        assert wait_for_arguments(items) == expected


def polite_list(build, folder):
    """Writes a list with launch-with, whose program takes its time to end; returns the list
    and two files, which the program writes at its start and at its end."""
    launch_with, ready, bye = folder / "launch-with", folder / "ready", folder / "bye"
    shutil.copy(build / "tools/launch_with/launch-with", launch_with)
    file = support.write_list(folder / "polite.json", item(
        "polite", str(launch_with), "--grace", "20", "--", "/bin/sh", "-c",
        f"trap 'sleep 1; echo bye >{bye}; exit' TERM; echo >{ready}; sleep 1000 & wait"))
    return file, ready, bye


def test_launch_with_gives_its_grace_below_systemd(systemd, build):
    file, ready, bye = polite_list(build, systemd.home)
    units = systemd.start(build, file)
    wait_until(ready.exists)
    systemd.systemctl("stop", *units).expect(0)
    assert bye.exists()


def test_launch_with_gives_its_grace_below_supervisord(home, build):
    file, ready, bye = polite_list(build, home)
    with supervisord(build, home, file):
        wait_until(ready.exists)
    wait_until(bye.exists)


def counting_list(folder):
    """Writes a list with a program that ends at once; returns it and what that writes."""
    starts = folder / "starts"
    file = support.write_list(folder / "counting.json", item(
        "counter", "/bin/sh", "-c", f"date +%s.%N >>{starts}; exit 3"))
    return file, starts


def count_lines(file):
    return file.read_text().count("\n") if file.exists() else 0


def test_systemd_starts_a_program_again_without_limit(systemd, build):
    file, starts = counting_list(systemd.home)
    units = systemd.start(build, file)
    # By default it would give up after 5 starts.
    wait_until(lambda: count_lines(starts) >= 12)
    systemd.systemctl("stop", *units)


@pytest.mark.parametrize("argument, code", [("é".encode(), 0), (b"\xff", 1)])
def test_systemd_shows_a_program_unless_an_argument_is_not_utf_8(argument, code, systemd, build):
    file = write_list(systemd.home / "list.json",
                      [(b"a", [b"/bin/sh", b"-c", b"sleep 1000", argument])])
    units = systemd.start(build, file)
    systemd.systemctl("is-active", *units).expect(0)
    assert systemd.systemctl("status", *units).code == code
    assert ("systemctl status fails" in (systemd.units / units[0]).read_text()) == (code != 0)
    systemd.systemctl("stop", *units).expect(0)


def test_systemd_finds_no_fault_in_a_unit(systemd, build):
    file, _ = counting_list(systemd.home)
    systemd.start(build, file)
    systemd.run("systemd-analyze", "--user", "verify", "launchlist-counter.service").expect(
        0).expect_no("launchlist")
    systemd.systemctl("stop", "launchlist-counter.service")


def test_supervisord_starts_a_program_again_without_limit(home, build):
    file, starts = counting_list(home)
    with supervisord(build, home, file):
        # By default it would give up after 3 starts.
        wait_until(lambda: count_lines(starts) >= 8)
