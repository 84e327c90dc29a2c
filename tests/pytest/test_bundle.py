"""Tests that an installed bundle is complete, and that its launcher and the tools run.

--prefix names where it is installed.
"""

import re

import pytest

from support import (ROOT, Command, expect_line, read_pid, run, steady_item, stop_launcher,
                     write_list)


@pytest.fixture(scope="module")
def launcher(prefix):
    return prefix / "Tamlin.app/Contents/MacOS/launcher"


@pytest.fixture
def linked_in():
    """For tests of what STATIC_LIBRARIES does; without the sources of jsoncpp it does nothing."""
    if not (ROOT / "build/sources/jsoncpp").exists():
        pytest.skip("the distribution's jsoncpp is used")


def test_the_bundle_is_made_of_four_files(prefix):
    files = [str(path.relative_to(prefix)) for path in prefix.glob("Tamlin.app/**/*")
             if not path.is_dir()]
    assert sorted(files) == [
        "Tamlin.app/Contents/Frameworks/liblogger.so.1",
        "Tamlin.app/Contents/Info.plist",
        "Tamlin.app/Contents/MacOS/launcher",
        "Tamlin.app/Contents/Resources/vopapi.ini"]


def test_the_launcher_loads_the_library_of_its_own_bundle(launcher):
    library = launcher.parent / "../Frameworks/liblogger.so.1"
    assert f"liblogger.so.1 => {library} " in run("ldd", launcher).output


def test_the_launcher_has_its_libraries_and_its_zeroed_data_in_its_file(launcher, linked_in):
    # Each library that is loaded, and data that are not in the file, are mappings that every
    # fork copies.
    lines = run("readelf", "-dlW", launcher).expect(0).output.splitlines()
    loaded = {re.search(r"\[(.*)\]", line)[1] for line in lines if "NEEDED" in line}
    assert {name.partition(".")[0] for name in loaded} <= {"libc", "liblogger", "ld-linux-x86-64"}
    segments = [line.split() for line in lines if line.split()[:1] == ["LOAD"]]
    assert segments
    assert [segment for segment in segments if segment[4] != segment[5]] == []


def test_launch_with_is_one_small_file(prefix):
    # It stands beside every program.
    program = prefix / "bin/launch-with"
    run("readelf", "-dlW", program).expect(0).expect_no("NEEDED|INTERP")
    assert program.stat().st_size < 1_000_000


def test_the_threads_of_the_launcher_have_stacks_of_its_own(launcher, linked_in):
    # The linker leaves out what nobody calls. A stripped launcher, as in packages, does not
    # tell.
    symbols = run("readelf", "-sW", launcher).expect(0).output
    assert ".symtab" not in symbols or (
        " __wrap_pthread_create" in symbols and " __wrap_pthread_join" in symbols)


def test_the_installed_programs_run_a_list_check_it_and_report_on_it(launcher, prefix, home, log):
    running = home / "running"
    file = write_list(home / "list.json", steady_item(running))
    with Command(launcher, "test", file, cwd="/") as command:
        program = read_pid(running)
        assert stop_launcher(command) == 1
    expect_line(rf".*\[LAUNCHER  \] steady {program} is killed\. ret = {program}, status = 9",
                log.read_text())
    run(prefix / "bin/launchlist-check", "--strict", file).expect_only(0, f"{file}: ok, 1 program")
    run(prefix / "bin/launchlog-report").expect(0, "  steady  .*  killed by SIGKILL")
