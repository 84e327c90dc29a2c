"""The models in model/, each searched exhaustively by spin: what can come about, and what not."""

import functools
import re
import subprocess

import pytest

from support import ROOT

MODELS = ROOT / "model"

BY_DEFAULT = "ended by SIGTERM before it had its handler"
ONE = "ended with 1"
SECOND = "ended with 1 after a second SIGTERM"
GROUP = "killed its own process group"
EVERYBODY = "killed every process of the user"
ABORTS = "aborted in the handler on a supervising thread"
ABORTS_IN_FORK = ABORTS + " inside fork"
HANGS_IN_FORK = "hung in the handler on a supervising thread inside fork"
HANGS_IN_MALLOC = "hung in the handler on a thread that allocates memory"
HANGS_IN_TWO = "hung in two handlers that wait for each other's threads"
WAITS = "waits for a program that had just been started again"
LOSES = "ended with 1 and left what main was adding"
LEAVES_LINKS = "ended with 1 and left the links of a chain"
CRASHES = "crashed when the table was changed twice at a time"
ZERO = "ended with 0"
ZERO_LEAVES = "ended with 0 and left programs"

# The outcomes of a stop of steady programs, and what the other lists add.
STEADY = {BY_DEFAULT, ONE, SECOND, GROUP, ABORTS, HANGS_IN_FORK, HANGS_IN_MALLOC, LOSES, CRASHES}


@pytest.fixture(scope="module")
def outcomes(tmp_path_factory):
    """outcomes(MODEL, MACRO...): searches all states. Returns the outcomes."""
    @functools.lru_cache(maxsize=None)
    def search(model, *macros):
        folder = tmp_path_factory.mktemp("search")

        def run(*command):
            return subprocess.run(command, cwd=folder, check=True, capture_output=True,
                                  text=True).stdout

        for file in MODELS.glob("*.pml"):
            (folder / file.name).write_bytes(file.read_bytes())
        run("spin", "-a", *[f"-D{macro}" for macro in macros], model + ".pml")
        # "provided" clauses forbid the reduction of the states.
        run("gcc", "-w", "-O1", "-DSAFETY", "-DNOREDUCE", "-DPRINTF", "-DMEMLIM=8000",
            "-o", "pan", "pan.c")
        report = run("./pan", "-E", "-m1000000")
        assert "errors: 0\n" in report, report[-3000:]
        assert "Search not completed" not in report and "depth too small" not in report
        # After the states comes the list of the statements that were never reached.
        return set(re.findall(r"^ *outcome: (.*)$", report.split("(Spin Version")[0], re.M))
    return search


@pytest.mark.parametrize("macros, expected", [
    # Main adds no second item, and what it allocates it does before the table has one.
    ("ITEMS=1 ENDS=NEVER", {BY_DEFAULT, ONE, SECOND, GROUP, ABORTS}),
    ("ITEMS=1 ENDS=MAYBE", STEADY - {LOSES, CRASHES} | {ABORTS_IN_FORK, WAITS}),
    ("ITEMS=1 ENDS=MAYBE STARTS=3", STEADY - {LOSES, CRASHES} | {ABORTS_IN_FORK, WAITS}),
    ("ITEMS=1 ENDS=NEVER SECOND_ANY", STEADY - {HANGS_IN_FORK, HANGS_IN_MALLOC}),
    ("ITEMS=2 ENDS=NEVER", STEADY),
    ("ITEMS=3 ENDS=NEVER", STEADY),
    # What main was adding ends by itself.
    ("ITEMS=2 ENDS=ALWAYS", STEADY - {LOSES} | {ABORTS_IN_FORK}),
    ("ITEMS=2 ENDS=MAYBE", STEADY | {ABORTS_IN_FORK, WAITS}),
    ("ITEMS=2 ENDS=NEVER TWINS", STEADY),
    ("ITEMS=2 ENDS=NEVER CHAIN", STEADY | {LEAVES_LINKS}),
    ("ITEMS=2 ENDS=NEVER FORK_FAILS", STEADY | {EVERYBODY}),
    ("ITEMS=2 ENDS=NEVER WRONG", STEADY - {ONE, SECOND, LOSES} | {ZERO, ZERO_LEAVES}),
    ("ITEMS=2 ENDS=MAYBE WRONG",
     STEADY - {ONE, SECOND, LOSES} | {ZERO, ZERO_LEAVES, ABORTS_IN_FORK, WAITS}),
    ("ITEMS=2 ENDS=NEVER SECOND_ANY", STEADY | {HANGS_IN_TWO}),
])
def test_a_stop_has_these_outcomes(outcomes, macros, expected):
    assert outcomes("sigterm", *macros.split()) == expected


def test_the_sweep_of_sigterm_knows_these_outcomes(outcomes):
    source = (ROOT / "tests/launcher/sigterm_sweep_test.cpp").read_text()
    known = set(re.findall(r'constexpr char k\w+\[\]\s*=\s*"([^"]*)";', source))
    found = outcomes("sigterm", "ENDS=NEVER") | outcomes("sigterm", "ENDS=ALWAYS")
    assert found == known


def test_the_documentation_lists_these_outcomes(outcomes):
    text = (ROOT / "docs/reliability.md").read_text()
    section = text.split("\n## A stop during the start\n")[1].split("\n## ")[0]
    _, *rows = re.findall(r"^\| (.*?) \|", section, re.M)
    found = outcomes("sigterm", "ENDS=NEVER") | outcomes("sigterm", "ENDS=ALWAYS")
    assert set(rows) == found


def test_what_the_models_name_is_in_the_sources():
    sources = [set(re.findall(r"\w+", file.read_text())) for folder in (
        "launcher", "tools", "platform") for file in (ROOT / folder).rglob("*.[ch]*")]
    text = " ".join(file.read_text() for file in MODELS.glob("*.pml"))
    comments = " ".join(re.findall(r"/\*.*?\*/", text, re.S))
    names = set(re.findall(r"\b\w+(?:::~?\w+)+|\b(?:[A-Z][a-z]+){2,}\b", comments))
    assert len(names) > 20
    assert [name for name in names
            if not any(source.issuperset(re.findall(r"\w+", name)) for source in sources)] == []


SIGTERM = "ended after SIGTERM"
SIGKILL = "was ended by SIGKILL"
HUNG = "hung, and was ended by SIGKILL"
BEFORE = "had ended"


@pytest.mark.parametrize("macros, expected", [
    ("ITEMS=1 ENDS=MAYBE ANOTHER FORK_FAILS", {SIGTERM, SIGKILL, HUNG, BEFORE}),
    ("ITEMS=2 ENDS=NEVER", {SIGTERM, SIGKILL}),
    ("ITEMS=3 ENDS=NEVER", {SIGTERM, SIGKILL}),
    ("ITEMS=2 ENDS=MAYBE FORK_FAILS", {SIGTERM, SIGKILL, HUNG}),
    ("ITEMS=2 ENDS=NEVER TWINS FORK_FAILS", {SIGTERM, SIGKILL, HUNG, BEFORE}),
    ("ITEMS=2 ENDS=NEVER CHAIN", {SIGTERM, SIGKILL}),
    ("ITEMS=2 ENDS=NEVER WRONG", {SIGKILL, BEFORE}),
    ("ITEMS=2 ENDS=NEVER TWINS FORK_FAILS ANOTHER", {SIGTERM, SIGKILL, HUNG, BEFORE}),
    ("ITEMS=2 ENDS=NEVER TWINS FORK_FAILS LIST_CHANGED", {SIGTERM, SIGKILL, BEFORE}),
])
def test_launcher_stop_leaves_nothing_and_harms_nobody(outcomes, macros, expected):
    assert outcomes("launcher_stop", *macros.split()) == expected


RUNS = "it runs"
NOTHING = "nothing is left"
BOTH = "both were killed, and what the program had started is left"


@pytest.mark.parametrize("macros, expected", [
    ("KILLS=0", {RUNS, NOTHING}),
    ("KILLS=1", {RUNS, NOTHING}),
    ("KILLS=2", {RUNS, NOTHING, BOTH}),
    ("KILLS=3", {RUNS, NOTHING, BOTH}),
    ("KILLS=0 ENDS_ITSELF", {NOTHING}),
    ("KILLS=3 ENDS_ITSELF", {NOTHING, BOTH}),
])
def test_launch_with_never_runs_two_and_leaves_none(outcomes, macros, expected):
    assert outcomes("launch_with", *macros.split()) == expected
