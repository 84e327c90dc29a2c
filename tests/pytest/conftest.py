"""The fixtures and the options of the tests in this folder.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_run.py [-k NAME]

A file whose tests start no launcher needs no tests/support/contained. The exit code is 77
if a test was skipped and none failed: CTest counts the file as skipped then.
"""

import contextlib
import os
import pathlib
import subprocess
import tempfile

import pytest

pytest.register_assert_rewrite("support")

from support import ROOT, is_contained, log_in, mounted  # noqa: E402  (after the line above)


def pytest_addoption(parser):
    parser.addoption("--build", type=pathlib.Path, default=ROOT / "build/dev",
                     help="the build folder whose programs are tested")
    parser.addoption("--prefix", type=pathlib.Path,
                     help="where the bundle is installed; if not given, build/release is"
                     " built and installed into a temporary folder")
    parser.addoption("--packages", type=pathlib.Path,
                     help="the folder of the packages; their archive, unpacked, is the prefix")


def pytest_sessionfinish(session, exitstatus):
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if exitstatus == 0 and reporter.stats.get("skipped"):
        session.exitstatus = 77


@pytest.fixture(scope="session")
def contained():
    """For tests that start what kills: ends the run outside of tests/support/contained."""
    if not is_contained():
        pytest.exit("what is tested here kills; run it through tests/support/contained", 2)


@contextlib.contextmanager
def new_home():
    folder = pathlib.Path(tempfile.mkdtemp())
    home = folder / "home"
    home.mkdir()
    folder.chmod(0o711)
    entries = [line.split(":") for line in pathlib.Path("/etc/passwd").read_text().splitlines()]
    for entry in entries:
        if entry[2] == str(os.getuid()):
            entry[5] = str(home)
    passwd = folder / "passwd"
    passwd.write_text("".join(":".join(entry) + "\n" for entry in entries))
    with mounted("--bind", passwd, "/etc/passwd"):
        yield home


@pytest.fixture
def home(contained):
    """An empty home directory of the test's own, which the user's passwd entry names.

    /etc/passwd is a copy, and may get more entries.
    """
    with new_home() as folder:
        yield folder


@pytest.fixture(scope="module")
def module_home(contained):
    """The same for all tests of a file."""
    with new_home() as folder:
        yield folder


@pytest.fixture
def log(home):
    return log_in(home)


@pytest.fixture(scope="session")
def build(pytestconfig):
    """The build folder whose programs are tested."""
    return pytestconfig.getoption("--build").resolve()


@pytest.fixture(scope="session")
def release():
    """The folder build/release, built as scripts/run does."""
    subprocess.run(["bash", "-c", "me=pytest; . scripts/common.sh && build_bundle release"],
                   cwd=ROOT, check=True)
    return ROOT / "build/release"


@pytest.fixture(scope="session")
def packages(pytestconfig):
    """The folder of the packages, as scripts/package makes them."""
    return (pytestconfig.getoption("--packages") or ROOT / "build/release/packages").resolve()


@pytest.fixture(scope="session")
def unpacked(packages, tmp_path_factory):
    """The folder that the archive unpacks into, below one with a blank in its name."""
    [archive] = packages.glob("*.tar.gz")
    folder = tmp_path_factory.mktemp("unpacked") / "a folder"
    folder.mkdir()
    subprocess.run(["tar", "-xzf", archive, "-C", folder], check=True)
    [unpacked] = folder.iterdir()
    return unpacked


@pytest.fixture(scope="session")
def prefix(request, tmp_path_factory):
    """Where the bundle is installed."""
    given = request.config.getoption("--prefix")
    if given:
        return given.resolve()
    if request.config.getoption("--packages"):
        return request.getfixturevalue("unpacked")
    folder = tmp_path_factory.mktemp("installed") / "a prefix"
    subprocess.run(["cmake", "--install", request.getfixturevalue("release"), "--prefix",
                    folder], stdout=subprocess.DEVNULL, check=True)
    return folder
