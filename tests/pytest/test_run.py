"""Tests scripts/run.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_run.py
"""

import os
import signal
import subprocess

import pytest

from support import (ROOT, Command, item, is_alive, ps, read_pid, run, steady_item,
                     wait_until, write_list)

SCRIPT = ROOT / "scripts/run"
NORMAL_END = ("scripts/run: the launcher ended with exit code 1, its normal end after"
              " SIGTERM")

pytestmark = pytest.mark.usefixtures("home")


@pytest.fixture
def pid_file(tmp_path):
    """Where the program of `steady_list` writes its process id."""
    return tmp_path / "running"


@pytest.fixture
def steady_list(tmp_path, pid_file):
    return write_list(tmp_path / "list.json", steady_item(pid_file))


@pytest.fixture
def fifo(tmp_path):
    os.mkfifo(tmp_path / "fifo")
    return tmp_path / "fifo"


def shell_list(tmp_path, script):
    """Writes a launch list with one item, a shell that runs the script."""
    return write_list(tmp_path / "list.json", item("a", "/bin/sh", "-c", script))


def no_launcher_is_left():
    return not ps("-C", "launcher", "-o", "pid=")


def test_the_example_shows_a_restart_within_three_seconds(log):
    run(SCRIPT, "--seconds", 3).expect(
        0,
        r".* ERROR .*\[LAUNCHER  \] ticker \d+ is killed\. .*, status = 768",
        r".* ERROR .*\[LAUNCHER  \] steady \d+ is killed\. .*, status = 9",
        NORMAL_END,
        f"scripts/run: the log is {log}")


def test_only_new_log_lines_are_shown(log, steady_list):
    log.parent.mkdir(parents=True)
    log.write_text("a line of an earlier run\n")
    run(SCRIPT, "--seconds", 1, steady_list).expect(
        0, NORMAL_END, ".* steady .* is killed.*").expect_no("earlier run")


def test_a_relative_list_is_relative_to_the_callers_directory(steady_list):
    run(SCRIPT, "--seconds", 1, steady_list.name, cwd=steady_list.parent).expect(
        0, f"scripts/run: the launcher runs on {steady_list} .*")


def test_the_launcher_has_a_session_of_its_own_and_default_signals(steady_list, pid_file):
    with Command(SCRIPT, steady_list) as script:
        launcher = ps("-o", "ppid=", "-p", read_pid(pid_file))[0]
        group, session, ignored = ps("-o", "pgid=,sid=,ignored=", "-p", launcher)[0].split()
        script.send(signal.SIGTERM)
        script.wait().expect(0)
    assert (group, session) == (launcher, launcher)
    assert int(ignored, 16) == 0


@pytest.mark.parametrize("name", ["SIGINT", "SIGTERM", "SIGHUP"])
def test_a_signal_stops_the_launcher_and_its_programs(name, steady_list, pid_file):
    with Command(SCRIPT, steady_list) as script:
        program = read_pid(pid_file)
        script.send(signal.Signals[name])
        script.wait().expect(0, NORMAL_END)
    assert not is_alive(program)


@pytest.mark.parametrize("sigpipe", ["", "trap '' PIPE; "], ids=["default", "ignored"])
def test_a_reader_who_goes_away_stops_the_launcher(sigpipe, tmp_path):
    busy = write_list(tmp_path / "list.json", item("busy", "/bin/sleep", "0.3"))
    run("sh", "-c", f"{sigpipe}'{SCRIPT}' '{busy}' | grep -q -m 1 'busy .* is killed'",
        seconds=60).expect(0)
    wait_until(no_launcher_is_left)


def test_what_programs_leave_behind_is_killed(tmp_path):
    left = tmp_path / "left"
    run(SCRIPT, "--seconds", 1, shell_list(tmp_path, f"sleep 1000 & echo $! >{left}; wait")
        ).expect(0, "scripts/run: killed [0-9]+: sleep 1000", "scripts/run: nothing is left")
    wait_until(lambda: not is_alive(read_pid(left)))


def test_a_list_with_an_error_is_not_run(tmp_path):
    run(SCRIPT, "--seconds", 1, write_list(tmp_path / "list.json", item("a", "/nothing/here"))
        ).expect(1, '.*"/nothing/here" cannot be executed.*',
                 "scripts/run: the launch list has errors; --anyway runs it all the same"
                 ).expect_no("the launcher runs on")


def test_a_list_with_a_warning_is_run(tmp_path):
    ignored = {**item("a", "/bin/sleep", "1000", "2000"), "argc": 1}
    run(SCRIPT, "--seconds", 1, write_list(tmp_path / "list.json", ignored)).expect(
        0, r".*\[ignored-arguments\]", NORMAL_END)


def test_a_list_that_cannot_be_checked_is_not_run(fifo):
    run(SCRIPT, "--seconds", 1, fifo).expect(
        1, "scripts/run: the launch list is not a regular file, .*; --anyway .*"
        ).expect_no("the launcher runs on")


def test_a_chain_of_failed_starts_is_ended_at_once(tmp_path):
    chain = write_list(tmp_path / "list.json", item("chain", "/nothing/here"))
    run(SCRIPT, "--anyway", chain).expect(
        3, "scripts/run: the launch list has errors; it is run .*",
        "scripts/run: a chain of processes: the program of an item .*").expect_no("SIGTERM")
    wait_until(no_launcher_is_left)


def test_a_sigkill_to_its_process_group_is_reported(tmp_path):
    run(SCRIPT, shell_list(tmp_path, "kill -KILL 0")).expect(
        5, "scripts/run: SIGKILL ended the launcher with its process group; .*")


def test_an_abort_is_reported_and_its_programs_are_killed(tmp_path, pid_file):
    wrong = {"name": "a", "program": ["/bin/sh"]}
    run(SCRIPT, "--anyway", write_list(tmp_path / "list.json", steady_item(pid_file), wrong)
        ).expect(6, r"scripts/run: the launcher aborted \(SIGABRT\), .*")
    # The abort may come before the program has run.
    if pid_file.exists() and pid_file.read_text():
        wait_until(lambda: not is_alive(read_pid(pid_file)))


def refused_list(tmp_path, count=1):
    """Writes a list of `count` items on one line, and an item that is never reached."""
    items = [item(f"item {number}", "/bin/true") for number in range(count)]
    return write_list(tmp_path / "list.json", *items, **{str(count + 1): {}})


def readlink_that_prints(tmp_path, text):
    """Returns a PATH with that readlink."""
    readlink = tmp_path / "namespace/readlink"
    readlink.parent.mkdir()
    readlink.write_text(f"#!/bin/sh\necho '{text}'\n")
    readlink.chmod(0o755)
    return f"{readlink.parent}:{os.environ['PATH']}"


@pytest.mark.parametrize("namespace, is_warned", [
    ("pid:[4026531836]", True), ("", True), ("pid:[4026532000]", False)])
def test_root_is_warned_outside_of_a_container(namespace, is_warned, tmp_path):
    path = readlink_that_prints(tmp_path, namespace)
    script = run(SCRIPT, refused_list(tmp_path), env={"PATH": path})
    script.expect(1, r".*\[unreached\]")
    warning = "scripts/run: warning: this is root, outside of a container. "
    assert (warning in script.output) == is_warned


class User:
    """A user who is not root, and may have 120 processes.

    The user may read and write all files, because the project can be in a folder of
    root's. The user's id has the number of the PID namespace in it, because the system
    counts a user's processes in all namespaces. The user's cmake leaves the build alone.
    """

    id = 100000 + os.stat("/proc/self/ns/pid").st_ino % 1000000000
    become = ["setpriv", f"--reuid={id}", f"--regid={id}", "--clear-groups",
              "--inh-caps=+dac_override", "--ambient-caps=+dac_override"]
    become_limited = [*become, "bash", "-c", 'ulimit -u 120; exec "$@"', "bash"]

    def __init__(self, home):
        folder = home / "user"
        folder.mkdir()
        os.chown(folder, self.id, self.id)
        with open("/etc/passwd", "a", encoding="utf-8") as passwd:
            passwd.write(f"user:x:{self.id}:{self.id}::{folder}:/bin/sh\n")
        cmake = home / "bin/cmake"
        cmake.parent.mkdir()
        cmake.write_text('#!/bin/sh\n[ "$1" != --version ] || echo cmake version 3.22\n')
        cmake.chmod(0o755)
        self.path = f"{cmake.parent}:{os.environ['PATH']}"

    def count_sleeping(self):
        return ps("-U", self.id, "-o", "comm=").count("sleep")

    def run(self, *arguments):
        """Runs scripts/run as this user. Another program of the user must survive it."""
        with Command(*self.become_limited, "sleep", 1000) as bystander:
            wait_until(self.count_sleeping)
            result = run(*self.become_limited, SCRIPT, *arguments, env={"PATH": self.path})
            assert bystander.code is None, "another program of the user was killed"
        wait_until(lambda: not ps("-U", self.id, "-o", "pid="))
        return result


@pytest.fixture
def user(home):
    if run(*User.become, "true").code != 0:
        pytest.skip("this namespace has no second user")
    return User(home)


TICKER = item("ticker", "/bin/sleep", "0.1")


def test_a_chain_harms_nothing_else_of_the_user(user, tmp_path):
    user.run("--anyway", write_list(tmp_path / "list.json", TICKER, item("late", "/bin/slep"))
             ).expect(3, "scripts/run: a chain of processes: .*")


def test_at_the_process_limit_nothing_else_of_the_user_is_harmed(user, tmp_path):
    many = item("many", "/bin/sh", "-c", "while :; do sleep 1000 & done")
    user.run(write_list(tmp_path / "list.json", TICKER, many)).expect(
        4, "scripts/run: the launcher could not fork: the limit here is 104 .*"
        ).expect_no("SIGTERM|fork: retry")


def test_a_user_with_too_few_processes_left_is_refused(user, steady_list):
    with Command(*user.become_limited, "bash", "-c",
                 "for _ in {1..101}; do sleep 1000 & done; exec sleep 1000"):
        wait_until(lambda: user.count_sleeping() == 102)
        run(*user.become_limited, SCRIPT, steady_list, env={"PATH": user.path}).expect(
            1, "scripts/run: this user has [0-9]+ processes of 120; .*")


def test_a_long_list_gets_the_processes_that_it_needs(user, tmp_path):
    # 20,000 processes are enough for 4,100 items, with a thread each. Root, who may have
    # more, sets the limit before it becomes the user.
    run("bash", "-c", 'ulimit -u 20000 && exec "$@"', "bash", *user.become, SCRIPT,
        refused_list(tmp_path, 4100), env={"PATH": user.path}
        ).expect(1, r".*\[unreached\]").expect_no("process-limit")


def test_another_user_than_root_is_not_warned(user, tmp_path):
    own_commands = user.path.split(":")[0]
    user.path = f"{own_commands}:{readlink_that_prints(tmp_path, 'pid:[4026531836]')}"
    user.run(refused_list(tmp_path)).expect(1, r".*\[unreached\]").expect_no("this is root")


def test_a_list_that_is_not_json_is_reported_at_once(tmp_path):
    file = tmp_path / "list.json"
    file.write_text("not json\n")
    run(SCRIPT, file).expect(1, "scripts/run: the launch list has errors; .*")
    run(SCRIPT, "--anyway", file).expect(
        1, r".*\[LAUNCHER  \] Error while parsing saved json string\.",
        "scripts/run: the launcher ended by itself with exit code 0: .*")


def test_a_list_that_cannot_be_used_is_refused_in_one_line(tmp_path):
    empty = tmp_path / "empty.json"
    empty.touch()
    for file, words in [(tmp_path / "none.json", "there is no launch list {}"),
                        (tmp_path, "the launch list {} is a directory"),
                        (empty, "the launch list {} is empty")]:
        run(SCRIPT, file).expect_only(1, "scripts/run: " + words.format(file))


def test_a_standard_stream_is_refused_because_the_launcher_closes_it(steady_list):
    with steady_list.open() as file:
        run(SCRIPT, "/dev/fd/0", stdin=file).expect_only(
            1, "scripts/run: /dev/fd/0 is a standard stream, which the launcher closes .*")


@pytest.mark.parametrize("arguments, words", [
    *[(["--seconds", number], f"--seconds takes a whole .*, not {number}")
      for number in ["1.5", "0", "-1", "08", "10000000000"]],
    (["--seconds"], "--seconds takes a whole .*, not nothing"),
    (["--fast"], "unknown option --fast; .*"),
    (["a.json", "b.json"], "one launch list at a time; .*"),
])
def test_wrong_arguments_are_refused_in_one_line(arguments, words):
    run(SCRIPT, *arguments).expect_only(1, "scripts/run: " + words)


@pytest.mark.parametrize("script, line", [
    ("run", r"scripts/run \[--seconds N\] \[--anyway\] \[LIST.json\]"),
    ("test", r"scripts/test \[--preset PRESET\] \[CTEST-ARGUMENT\.\.\.\]"),
    ("fresh-machine", r"scripts/fresh-machine \[--all\]"),
])
def test_help_starts_nothing(script, line):
    run(ROOT / "scripts" / script, "--help").expect(0, line)


def test_a_log_that_cannot_be_written_is_reported(home, log, steady_list):
    (home / "Library").touch()
    run(SCRIPT, "--seconds", 1, steady_list).expect(
        0, f"scripts/run: there is no log: {log.parent} cannot be written.*")


def test_a_launcher_that_waits_for_its_list_is_killed(fifo):
    run(SCRIPT, "--anyway", "--seconds", 1, fifo).expect(
        1, r"scripts/run: launcher [0-9]+ \(demo\) was ended by SIGKILL: it was not ready .*",
        "scripts/run: the launcher was ended by signal 9")


def test_a_clone_whose_path_has_blanks_builds_and_runs(tmp_path):
    clone = tmp_path / "a clone with blanks"
    clone.mkdir()
    subprocess.run(["sh", "-c", 'git ls-files -z | xargs -0 cp --parents -t "$0"', clone],
                   cwd=ROOT, check=True)
    # Without -O3 this takes a third less time.
    presets = clone / "CMakePresets.json"
    presets.write_text(presets.read_text().replace('"Release"', '"None"'))
    run("../scripts/run", "--seconds", 1, "launch-list.json", cwd=clone / "examples",
        seconds=600).expect(0, NORMAL_END)

    main = clone / "launcher/main.cpp"
    main.write_text("#error broken\n" + main.read_text())
    run("scripts/run", "--seconds", 1, cwd=clone).expect(
        1, "scripts/run: build/release could not be built; .*")
    (clone / "CMakeLists.txt").write_text("broken\n")
    run("scripts/run", "--seconds", 1, cwd=clone).expect(
        1, "scripts/run: build/release could not be configured; .*")
