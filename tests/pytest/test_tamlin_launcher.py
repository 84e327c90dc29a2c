"""Tests tamlin-launcher, with a script in the place of the launcher."""

import os
import re
import shutil
import subprocess

import pytest

from support import ROOT

RIGHT = '{ "0": { "name": "steady", "program": "/bin/sh" } }\n'
LISTS = {
    "list.json": RIGHT,
    "my list.json": RIGHT,
    "-list.json": RIGHT,
    "wrong.json": '{ "0": { "name": "steady", "program": "sh" } }\n',
    "warned.json": '{ "0": { "name": "steady", "program": "/bin/sh", "owner": "me" } }\n',
}
LAUNCHER = r"""#!/bin/sh
printf '%s\n' "started as $0" "process $$" "$@"
exit 1
"""


class Prefix:
    """An installation with a bundle of a script. Commands run in `place`, a folder there."""

    def __init__(self, folder, build):
        self.folder = folder
        self.place = folder / "a folder"
        self.bundle = folder / "Tamlin.app"
        launcher = self.bundle / "Contents/MacOS/launcher"
        launcher.parent.mkdir(parents=True)
        launcher.write_text(LAUNCHER)
        launcher.chmod(0o755)
        (folder / "bin").mkdir()
        shutil.copy(ROOT / "packaging/tamlin-launcher", folder / "bin")
        shutil.copy(build / "tools/launchlist_check/launchlist-check", folder / "bin")
        self.place.mkdir()
        for name, text in LISTS.items():
            (self.place / name).write_text(text)

    def call(self, *arguments, program="../bin/tamlin-launcher", **options):
        """Calls tamlin-launcher, and waits for its end. Options go to subprocess.Popen."""
        with subprocess.Popen([program, *arguments], cwd=self.place, text=True, **{
                "stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE,
                "stderr": subprocess.PIPE, **options}) as process:
            try:
                self.output, self.errors = process.communicate(timeout=30)
            finally:
                process.kill()
        self.code, self.process = process.returncode, process.pid
        return self

    def expect_start(self, *arguments):
        """Expects the launcher to have been started with the arguments, in the same process."""
        __tracebackhide__ = True
        launcher = self.bundle / "Contents/MacOS/launcher"
        started = [f"started as {launcher}", f"process {self.process}", *arguments]
        assert (self.code, self.output.splitlines()) == (1, started), self.errors

    def expect_refusal(self, pattern):
        """Expects that nothing was started, and errors that the pattern matches."""
        __tracebackhide__ = True
        assert (self.code, self.output or "") == (2, "")
        assert re.fullmatch(pattern, self.errors.rstrip("\n"), re.S), self.errors


@pytest.fixture
def prefix(tmp_path, build):
    return Prefix(tmp_path.resolve(), build)


@pytest.mark.parametrize("option", ["--help", "-h"])
def test_help_is_printed(prefix, option):
    prefix.call(option)
    assert (prefix.code, prefix.errors) == (0, "")
    assert prefix.output.startswith("tamlin-launcher [--anyway] NAME LIST.json\n")


@pytest.mark.parametrize("arguments, words", [
    ([], "it takes a name and a launch list; --help tells more"),
    (["main"], "it takes a name and a launch list; --help tells more"),
    (["main", "list.json", "more"], "it takes a name and a launch list; --help tells more"),
    (["--json", "main", "list.json"], "unknown option --json; --help tells more"),
    (["100%", "list.json"], "the name 100% has a percent sign, which the system log would take "
                            "as a format"),
])
def test_wrong_use_is_said_in_one_line(prefix, arguments, words):
    prefix.call(*arguments).expect_refusal(f"tamlin-launcher: {re.escape(words)}")


def test_a_right_list_is_started_in_the_same_process(prefix):
    prefix.call("main", "list.json").expect_start("main", "list.json")
    prefix.call("--", "main", "my list.json").expect_start("main", "my list.json")


def test_warnings_are_shown_and_do_not_prevent_the_start(prefix):
    prefix.call("main", "warned.json").expect_start("main", "warned.json")
    assert re.search(r"warned\.json:.*\[unknown-member\]", prefix.errors)


@pytest.mark.parametrize("file, kind", [
    ("wrong.json", "relative-program"), ("none.json", "unreadable"), ("..", "directory")])
def test_a_list_with_errors_is_refused(prefix, file, kind):
    prefix.call("main", file).expect_refusal(
        rf"{re.escape(file)}:.*\[{kind}\].*"
        "tamlin-launcher: not started, see above; --anyway starts the launcher all the same")


def test_with_anyway_a_list_is_started_after_its_errors_were_shown(prefix):
    prefix.call("--anyway", "main", "wrong.json").expect_start("main", "wrong.json")
    assert re.search(r"wrong\.json:.*\[relative-program\]", prefix.errors)


def test_a_list_that_can_be_read_only_once_is_not_checked(prefix):
    words = ("is not a regular file, so it cannot be checked and then read; "
             "--anyway starts the launcher without a check")
    reader, writer = os.pipe()
    prefix.call("main", f"/dev/fd/{reader}", pass_fds=[reader]).expect_refusal(
        f"tamlin-launcher: /dev/fd/{reader} {words}")
    os.close(reader)
    os.close(writer)
    os.mkfifo(prefix.place / "fifo")
    prefix.call("main", "fifo").expect_refusal(f"tamlin-launcher: fifo {words}")
    prefix.call("--anyway", "main", "fifo").expect_start("main", "fifo")
    assert prefix.errors == ""


STANDARD_STREAM = "is a standard stream, which the launcher closes before it reads the list"


@pytest.mark.parametrize("options", [[], ["--anyway"]])
@pytest.mark.parametrize("path", ["/dev/stdin", "/dev/fd/0", "/proc/self/fd/0", "link"])
def test_the_standard_input_is_refused_as_the_list(prefix, path, options):
    (prefix.place / "link").symlink_to("/dev/stdin")
    with open(prefix.place / "list.json") as file:
        prefix.call(*options, "main", path, stdin=file).expect_refusal(
            f"tamlin-launcher: {path} {STANDARD_STREAM}")


def test_a_pipe_that_is_the_standard_input_is_refused_even_with_anyway(prefix):
    reader, writer = os.pipe()
    prefix.call("--anyway", "main", "/dev/stdin", stdin=reader).expect_refusal(
        f"tamlin-launcher: /dev/stdin {STANDARD_STREAM}")
    os.close(reader)
    os.close(writer)


def test_the_standard_output_and_error_are_refused_as_the_list(prefix):
    with open(prefix.place / "list.json", "r+") as file:
        prefix.call("main", "/dev/stdout", stdout=file).expect_refusal(
            f"tamlin-launcher: /dev/stdout {STANDARD_STREAM}")
        assert prefix.call("main", "/dev/stderr", stderr=file).code == 2
        assert prefix.output == ""


def test_another_open_file_may_be_the_list(prefix):
    with open(prefix.place / "list.json") as file:
        path = f"/dev/fd/{file.fileno()}"
        prefix.call("main", path, pass_fds=[file.fileno()]).expect_start("main", path)


def test_a_list_whose_name_begins_with_a_hyphen_is_neither_an_option_nor_the_standard_input(
        prefix):
    prefix.call("main", "-list.json").expect_start("main", "./-list.json")
    with open(prefix.place / "list.json") as file:
        prefix.call("main", "-", stdin=file).expect_refusal(r"\./-:.*\[unreadable\].*")


def test_it_may_be_called_through_links(prefix):
    (prefix.folder / "one").symlink_to("bin/tamlin-launcher")
    (prefix.place / "two").symlink_to(prefix.folder / "one")
    prefix.call("main", "list.json", program="./two").expect_start("main", "list.json")
    (prefix.place / "linked").symlink_to(prefix.folder / "bin")
    prefix.call("main", "list.json", program="linked/tamlin-launcher").expect_start(
        "main", "list.json")


def test_the_bundle_of_a_debian_package_is_found(prefix):
    (prefix.folder / "lib/tamlin").mkdir(parents=True)
    prefix.bundle = prefix.bundle.rename(prefix.folder / "lib/tamlin/Tamlin.app")
    prefix.call("main", "list.json").expect_start("main", "list.json")


def test_without_launchlist_check_nothing_is_started(prefix):
    (prefix.folder / "bin/launchlist-check").unlink()
    prefix.call("main", "list.json").expect_refusal(
        ".*launchlist-check.*not started, see above; .*")


def test_without_a_bundle_it_says_where_it_looked(prefix):
    shutil.rmtree(prefix.bundle)
    folder = re.escape(str(prefix.folder))
    prefix.call("main", "list.json").expect_refusal(
        rf"tamlin-launcher: there is no Tamlin\.app in {folder}, in {folder}/lib/tamlin or in "
        "/Applications")
