"""Runs every command that the documentation shows, and compares what it prints.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_docs.py

The pages are *.md, docs/*.md and packaging/man/*. Their blocks:

  ```console       a session. A line that begins with "$ " is a command, lines that begin
                   with "> " continue it, and the other lines are what it prints, with its
                   errors.
  ```json a.json   a file, which is written before the next session. The line above the
                   block names it.
  ```text          commands that are not run. A line in brackets above them says where they
                   belong: "(on macOS)".

A literal display of a man page is a session if it begins with "$ ". Blocks of a shell
(```sh) are refused, and so are commands outside of blocks. Other blocks are ignored.

All sessions of a page are one: one shell with job control runs the commands in their order,
and begins in the project's folder. The user's home is empty except for a link to that
folder, called launcher. The commands of a man page find the programs on the PATH. Each command must
succeed; a page shows a failure as in `launcher; echo $?`. What is printed must be what is
shown, with these exceptions:

  - a line "..." stands for any lines, or none, and "..." in a line for any text in it;
  - a time stands for any time, and the process ids in log lines for any others;
  - the project is in /home/you/launcher, and the user's home is /home/you;
  - a command that only looks (cat, grep, ls, pgrep, ps, tail, launcher-status,
    launchlog-report, podman exec, podman healthcheck) may look again, for a minute, until it
    sees what is shown.
"""

import os
import re
import select
import shlex
import subprocess

import pytest

from support import ROOT, fail, ps, wait_until

MARKDOWN = [*sorted(ROOT.glob("*.md")), *sorted(ROOT.glob("docs/*.md"))]
PAGES = MARKDOWN + sorted(ROOT.glob("packaging/man/*"))

# These commands only look.
LOOKS = ("cat ", "grep ", "ls ", "pgrep ", "ps ", "tail ", "launcher-status", "launchlog-report",
         "podman exec ", "podman healthcheck ")


class Block:
    """A block of a page: its kind, the file's name after it, and where its text begins."""

    def __init__(self, first_line, above, place, number):
        self.kind, self.name = (first_line[3:].split(" ", 1) + [""])[:2]
        self.above = above
        self.place = place
        self.number = number
        self.lines = []

    def at(self, index=0):
        return f"{self.place}:{self.number + index}"

    def is_session(self):
        begins = bool(self.lines) and self.lines[0].startswith("$ ")
        return begins and self.kind in ("console", "literal")


def read_page(page):
    """Returns the lines of a page; literal displays of a man page become blocks."""
    text = page.read_text(encoding="utf-8")
    if page.suffix != ".md":
        text = re.sub(r"^\.Bd -literal.*", "```literal", text, flags=re.M)
        text = re.sub(r"^\.Ed", "```", text, flags=re.M)
        text = text.replace(r"\&", "").replace(r"\e", "\\")
    return text.splitlines()


def read_blocks(page):
    """Returns the blocks of a page. A command outside of them fails the test."""
    place = page.relative_to(ROOT)
    blocks, block, above = [], None, ""
    for number, line in enumerate(read_page(page), 1):
        if block is None and line.startswith("```"):
            block = Block(line, above, place, number + 1)
            blocks.append(block)
        elif line == "```":
            block = None
        elif block is not None:
            block.lines.append(line)
        elif re.match(r"\s*\$ ", line):
            fail(f"{place}:{number}: a command outside of a session", line)
        above = line or above
    assert block is None, f"{place}: the last block does not end"
    return blocks


def read_session(block):
    """Returns the commands of a session: of each its place, its text and what it prints."""
    commands = []
    for index, line in enumerate(block.lines):
        if line.startswith("$ "):
            commands.append((block.at(index), line[2:], []))
        elif line.startswith("> "):
            place, command, shown = commands[-1]
            commands[-1] = (place, f"{command}\n{line[2:]}", shown)
        else:
            commands[-1][2].append(line)
    return commands


class Shell:
    """One bash with job control, as a user has it in a terminal."""

    def __init__(self, home, path):
        self.home = home
        self.printed = home.parent / "printed"
        self.codes, self.code_output = os.pipe()
        self.bash = subprocess.Popen(
            ["bash", "-m"], stdin=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            pass_fds=[self.code_output], start_new_session=True, cwd=ROOT,
            env={**os.environ, "HOME": str(home), "PATH": path})
        os.close(self.code_output)

    def close(self):
        self.bash.stdin.close()
        self.bash.wait(60)
        os.close(self.codes)

    def run(self, command):
        """Runs a command; returns its exit code, and what it prints, normalized."""
        self.bash.stdin.write(
            f"eval {shlex.quote(command)} >{self.printed} 2>&1 </dev/null"
            f" {self.code_output}>&-; echo $? >&{self.code_output}\n")
        self.bash.stdin.flush()
        if not select.select([self.codes], [], [], 300)[0]:
            raise TimeoutError(f"{command}\n{self.printed.read_text()}")
        code = int(os.read(self.codes, 100))
        return code, self.normalize(self.printed.read_text(errors="replace").rstrip("\n"))

    def normalize(self, text):
        """Returns the text without what differs from run to run."""
        for pattern, replacement in [
                (re.escape(str(ROOT)), "/home/you/launcher"),
                (re.escape(str(self.home)), "/home/you"),
                (r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{3})?Z",
                 lambda time: "TIME.mmm" if time[1] else "TIME"),
                (r"(DEBUG|ERROR) \d+ \[", r"\1 PID ["),
                (r" \d+ is killed\. ret = \d+,", " PID is killed. ret = PID,"),
                (r" as process \d+", " as process PID")]:
            text = re.sub(pattern, replacement, text)
        return text

    def expect(self, place, command, shown):
        """Runs a command that is shown at that place, and expects what is shown."""
        print(f"{place}: $ {command}")
        pattern = self.to_pattern(shown)

        def is_as_shown():
            nonlocal code, printed
            code, printed = self.run(command)
            return code == 0 and re.fullmatch(pattern, f"{printed}\n" if printed else "")

        code = printed = None
        try:
            wait_until(is_as_shown, 60 if command.startswith(LOOKS) else 0)
        except AssertionError:
            fail(f"{place}: this is not what is shown, or fails: exit code {code}", printed)

    def to_pattern(self, shown):
        pattern = ""
        for line in shown:
            escaped = re.escape(self.normalize(line)).replace(r"\.\.\.", "[^\n]*")
            pattern += "(?:.*\n)*" if line == "..." else f"{escaped}\n"
        return pattern


def print_not_run(block):
    """Prints the commands of a block that is not a session; each must follow a note."""
    note = ""
    for index, line in enumerate(block.lines):
        if re.fullmatch(r"\(.*\)", line):
            note = line
        elif line.startswith("$ "):
            assert note, f"{block.at(index)}: a command, but not where it belongs: {line}"
            print(f"not run: {note} {line}")


def run_block(shell, block):
    if block.is_session():
        for place, command, shown in read_session(block):
            shell.expect(place, command, shown)
        return
    assert block.kind != "console", f"{block.at()}: a session begins with a command"
    assert block.kind not in ("sh", "bash", "zsh", "shell"), (
        f"{block.at()}: commands are shown as a console")
    print_not_run(block)
    if block.name:
        assert f"`{block.name}`" in block.above, (
            f"{block.at()}: the line above does not name {block.name}: {block.above}")
        text = "\n".join(block.lines).replace("/home/you/", f"{shell.home}/")
        code, printed = shell.run(f"cat >{block.name} <<'END'\n{text}\nEND")
        assert code == 0, printed


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_every_command_prints_what_is_shown_and_no_launcher_is_left(page, home, prefix):
    (home / "launcher").symlink_to(ROOT)
    path = os.environ["PATH"]
    if page.suffix != ".md":
        path = f"{prefix}/bin:{prefix}/Tamlin.app/Contents/MacOS:{path}"
    shell = Shell(home, path)
    try:
        for block in read_blocks(page):
            run_block(shell, block)
    finally:
        shell.close()
    wait_until(lambda: not ps("-C", "launcher", "-o", "pid="))


def headings(page):
    """Returns the names of a page's headings, as links call them."""
    found = re.findall(r"^#+ (.*)", page.read_text(encoding="utf-8"), flags=re.M)
    return [re.sub(r"[^a-z0-9 _-]", "", heading.lower()).replace(" ", "-")
            for heading in found]


@pytest.mark.parametrize("page", MARKDOWN, ids=lambda page: page.name)
def test_every_link_in_the_project_leads_somewhere(page):
    for link in re.findall(r"\]\(([^):]*)\)", page.read_text(encoding="utf-8")):
        name, _, heading = link.partition("#")
        file = page.parent / name if name else page
        assert file.exists(), f"there is no {link}"
        assert not heading or heading in headings(file), f"there is no heading for {link}"


@pytest.mark.parametrize("page", ["README.md", "CONTRIBUTING.md", "docs/architecture.md"])
def test_every_file_of_the_sources_that_is_named_exists(page):
    folders = [path for path in ROOT.iterdir() if path.name not in {"build", ".git"}]
    sources = folders + [path for folder in folders for path in folder.rglob("*")]
    text = (ROOT / page).read_text(encoding="utf-8")
    named = set(re.findall(r"`((?:[\w.+-]+/)+[\w.+-]*|[\w-]+\.(?:cpp|h|json|ld|md|py|txt))`",
                           text))
    assert len(named) > 10
    assert [name for name in named if not name.startswith("build/")
            and not any(f"{source}/".endswith(f"/{name.rstrip('/')}/")
                        for source in sources)] == []


def message_pieces():
    """Returns what of the launcher's messages is the same in each line."""
    sources = [*ROOT.glob("launcher/*.cpp"), ROOT / "common/config/log_location.cpp"]
    text = " ".join(" ".join(source.read_text().splitlines()) for source in sources)
    text = re.sub('" *"', "", text)
    found = re.findall(r'"\[(?:LAUNCHER|SERVICE) +\] [^"]*"|WriteEvent\([^;]*;', text)
    strings = [string for part in found for string in re.findall('"([^"]*)"', part)]
    return {piece.strip() for string in strings
            for piece in re.split("%[sd]", re.sub(r"^\[[A-Z]* *\] ", "", string))
            if piece.strip()}


def test_every_message_is_explained():
    pieces = message_pieces()
    assert {"is killed. ret =", "Failed to initialize logger"} <= pieces
    text = " ".join((ROOT / "packaging/man/launcher.8").read_text().splitlines())
    assert [piece for piece in pieces if piece not in text] == []


def test_every_test_that_is_named_exists():
    sources = " ".join(source.read_text() for source in ROOT.glob("tests/**/*.cpp"))
    tests = {f"{suite}.{name}" for suite, name in
             re.findall(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)", sources)}
    page = (ROOT / "CONTRIBUTING.md").read_text(encoding="utf-8")
    named = set(re.findall(r"`([A-Z]\w+\.[A-Z]\w+)`", page))
    assert len(named) > 50
    assert named - tests == set()
