"""Tests that the commands in the examples of the tools' help and man pages run."""

import os
import re
import shutil

import pytest

from support import ROOT, Command, item, run, wait_until, write_list

FAILURE = "[LAUNCHER  ] ticker 7 is killed. ret = 7, status = 768\n"


@pytest.fixture
def folder(home, log, build, monkeypatch):
    """The current folder, with what the examples name; the tools are in PATH."""
    folder = home / "place"
    for path in (folder / "lists", folder / "old", home / "bin", log.parent):
        path.mkdir(parents=True)
    for name in ("list.json", "lists/a.json", "lists/b.json"):
        shutil.copy(ROOT / "examples/launch-list.json", folder / name)
    (folder / "old/launcher.log").write_text(FAILURE)
    log.write_text(FAILURE)
    generator = home / "bin/generate-list"
    generator.write_text("#!/bin/sh\ncat list.json\n")
    generator.chmod(0o755)
    for name in ("launcher-status", "launcher-stop", "launchlist-check", "launchlist-export",
                 "launchlog-report"):
        (home / "bin" / name).symlink_to(build / "tools" / name.replace("-", "_") / name)
    monkeypatch.setenv("PATH", f"{home / 'bin'}:{os.environ['PATH']}")
    monkeypatch.chdir(folder)
    return folder


def examples_of(tool):
    """Returns the commands of the examples in the tool's help and man page."""
    in_help = re.search(r"^Examples:\n\n((?:  .*\n)+)", run(tool, "--help").output, re.M)
    page = (ROOT / f"packaging/man/{tool}.1").read_text()
    return [line.strip() for line in in_help[1].splitlines()] + re.findall(
        r"^\.Dl \$ (.*)", page, re.M)


@pytest.mark.parametrize("tool", ["launchlist-check", "launchlist-export", "launchlog-report"])
def test_every_example_runs_as_shown(tool, folder):
    examples = examples_of(tool)
    assert len(examples) >= 7
    for command in examples:
        # Ctrl-C ends a command that runs on, which is no failure.
        shell = run("timeout", "--foreground", "-s", "INT", 2,
                    "bash", "-c", f"set -o pipefail; {command}")
        assert shell.code in (0, 124), f"{command}\n{shell.output}"


@pytest.mark.parametrize("tool", ["launcher-status", "launcher-stop"])
def test_every_example_runs_while_a_launcher_does(tool, folder, build):
    write_list(folder / "list.json", item("steady", "/bin/sleep", "1000"))
    examples = examples_of(tool)
    assert len(examples) >= 6
    for command in examples:
        with Command(build / "Tamlin.app/Contents/MacOS/launcher", "main", "list.json"):
            wait_until(lambda: run("launcher-status", "list.json").code == 0)
            shell = run("timeout", "--foreground", "-s", "INT", 2,
                        "bash", "-c", f"set -o pipefail; {command}")
            assert shell.code in (0, 124), f"{command}\n{shell.output}"


def test_the_list_with_launch_with_runs(folder, build):
    text = (ROOT / "examples/launch-with.json").read_text()
    places = {"/usr/bin/launch-with": build / "tools/launch_with/launch-with",
              "/var/tmp/clock.out": folder / "clock.out"}
    for place, here in places.items():
        assert place in text
        text = text.replace(place, str(here))
    (folder / "list.json").write_text(text)
    run("launchlist-check", "list.json").expect_only(0, "list.json: ok, 1 program")
    with Command(build / "Tamlin.app/Contents/MacOS/launcher", "main", "list.json"):
        wait_until(lambda: (folder / "clock.out").exists())
        run("launcher-stop").expect(0, "nothing is left")
