"""What the tests of this folder share: commands, waiting, processes and launch lists."""

import contextlib
import filecmp
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]


def is_contained():
    """Returns whether this process runs through tests/support/contained."""
    outside = os.environ.get("CONTAINED_FROM")
    return bool(outside) and os.readlink("/proc/self/ns/pid") != outside


class Command:
    """A command in a session of its own, with its output and its errors in one file.

    Arguments may be paths and numbers. `env` holds changes to this process's environment;
    None removes a variable. Other options go to subprocess.Popen. Used with `with`, it is
    killed at the end, with its process group, if it still runs.
    """

    def __init__(self, *arguments, env=None, **options):
        environment = {**os.environ, **(env or {})}
        self._file = tempfile.TemporaryFile()
        self._process = subprocess.Popen(
            [str(argument) for argument in arguments],
            **{"stdin": subprocess.DEVNULL, "stdout": self._file,
               "stderr": subprocess.STDOUT, "start_new_session": True, **options},
            env={key: str(value) for key, value in environment.items() if value is not None})
        self.pid = self._process.pid

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.code is None:
            os.killpg(self.pid, signal.SIGKILL)
            self._process.wait()

    @property
    def code(self):
        """The exit code, -N if signal N ended the command, None while it runs."""
        return self._process.poll()

    @property
    def output(self):
        """What the command has printed so far."""
        size = os.fstat(self._file.fileno()).st_size
        return os.pread(self._file.fileno(), size, 0).decode(errors="replace")

    def send(self, signal_number):
        self._process.send_signal(signal_number)

    def wait(self, seconds=300):
        """Waits for the end of the command, and returns the command."""
        __tracebackhide__ = True
        try:
            self._process.wait(seconds)
        except subprocess.TimeoutExpired:
            fail(f"the command runs longer than {seconds} s", self.output)
        return self

    def expect(self, code, *lines):
        """Expects the exit code, and a line for each regular expression."""
        __tracebackhide__ = True
        if self.code != code:
            fail(f"the exit code is {self.code}, not {code}", self.output)
        for line in lines:
            expect_line(line, self.output)
        return self

    def expect_only(self, code, line):
        """Expects the exit code, and one line alone."""
        __tracebackhide__ = True
        self.expect(code, line)
        if self.output.count("\n") != 1:
            fail("this is more than one line", self.output)
        return self

    def expect_no(self, pattern):
        """Expects that the regular expression is found nowhere in the output."""
        __tracebackhide__ = True
        if re.search(pattern, self.output):
            fail(f"there is {pattern}", self.output)
        return self


def run(*arguments, seconds=300, **options):
    """Runs a command to its end; see Command."""
    __tracebackhide__ = True
    with Command(*arguments, **options) as command:
        return command.wait(seconds)


def expect_line(line, text):
    """Expects a line in the text that the regular expression matches as a whole."""
    __tracebackhide__ = True
    if not any(re.fullmatch(line, candidate) for candidate in text.splitlines()):
        fail(f"there is no line {line}", text)


def fail(words, text):
    """Fails the test, and shows the last lines of the text."""
    __tracebackhide__ = True
    shown = "".join(f"\n  | {line}" for line in text.splitlines()[-40:])
    raise AssertionError(f"{words}; the output is:{shown}")


def wait_until(condition, seconds=60):
    """Calls the condition until what it returns is true, and returns that."""
    __tracebackhide__ = True
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"after {seconds} s this is not true: {value!r}")
        time.sleep(0.05)


@contextlib.contextmanager
def mounted(*arguments):
    """Mounts what the arguments for mount say; the last one is where."""
    subprocess.run(["mount", *arguments], check=True)
    try:
        yield
    finally:
        subprocess.run(["umount", arguments[-1]], check=True)


def ps(*arguments):
    """Returns what ps prints, as a list of lines without blanks around them."""
    found = subprocess.run(["ps", *map(str, arguments)], stdout=subprocess.PIPE, text=True,
                           check=False)
    return [line.strip() for line in found.stdout.splitlines()]


def is_alive(pid):
    return pathlib.Path(f"/proc/{pid}").exists()


def item(name, program, *arguments):
    """Returns an item of a launch list."""
    texts = {str(number): text for number, text in enumerate(arguments)}
    counted = {"argc": len(texts), "args": texts} if texts else {}
    return {"name": name, "program": program, **counted}


def steady_item(pid_file):
    """Returns an item whose program writes its process id to the file, and runs on."""
    return item("steady", "/bin/sh", "-c", f"echo $$ >{pid_file}; exec sleep 1000")


def write_list(file, *items, **others):
    """Writes a launch list of the items, and returns the file."""
    file.write_text(json.dumps({**{str(number): value for number, value in enumerate(items)},
                                **others}))
    return file


def read_pid(file):
    """Waits until a program has written its process id to the file, and returns it."""
    return int(wait_until(lambda: file.exists() and file.read_text()))


def log_in(home):
    """Returns the launcher's log in a home directory; the launcher makes its folder."""
    return home / "Library/Logs/Tamlin/voplog/launcher.log"


def stop_launcher(command):
    """Stops a launcher that is a Command, and returns its exit code.

    A SIGTERM during the start-up is lost, so another one is sent every two seconds.
    """
    for _ in range(30):
        command.send(signal.SIGTERM)
        with contextlib.suppress(AssertionError):
            return command.wait(2).code
    return fail("the launcher does not end", command.output)


def npm_modules(source):
    """Returns the folder of the modules that a folder's lock file names.

    npm fetches them into a folder of build/, which appears whole or not at all.
    """
    folder = ROOT / "build" / source.name
    lock = "package-lock.json"
    if not (folder / lock).exists() or not filecmp.cmp(source / lock, folder / lock, False):
        shutil.rmtree(folder, ignore_errors=True)
        part = folder.with_suffix(".part")
        shutil.rmtree(part, ignore_errors=True)
        part.mkdir(parents=True)
        for file in source.glob("package*.json"):
            shutil.copy(file, part)
        # It installs nothing whose checksum is not that in the lock file.
        subprocess.run(["npm", "ci", "--prefix", part, "--cache", part / "cache",
                        "--ignore-scripts", "--no-audit", "--no-fund"], check=True)
        shutil.rmtree(part / "cache")
        part.rename(folder)
    return folder / "node_modules"
