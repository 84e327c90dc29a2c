"""Tests that the bill of materials lists what is linked into the programs, and nothing else."""

import json
import pathlib
import re
import subprocess

import pytest

# A function of each library, as it stands in the symbols of a program that has it.
FUNCTIONS = {
    "jsoncpp": r" [TtWV] Json::Value::",
    "libuuid": r" [Tt] uuid_generate",
    "libstdc++": r" [TtW] (operator delete\(|std::terminate\()",
    "glibc": r" [TtW] __libc_start_main",
}
# What the linker may get that is not of the project. The C++ library it knows itself.
ARCHIVES = {"libjsoncpp.a", "libuuid.a", "-lc"}


def output_of(*command):
    return subprocess.run([str(argument) for argument in command], check=True,
                          capture_output=True, text=True).stdout


@pytest.fixture(scope="module")
def bill(prefix):
    text = (prefix / "share/doc/tamlin-launcher/tamlin-launcher.cdx.json").read_text()
    return json.loads(text)


@pytest.fixture(scope="module")
def programs(prefix):
    """The programs and the library by the names that the bill gives them."""
    contents = prefix / "Tamlin.app/Contents"
    found = {"launcher": contents / "MacOS/launcher",
             "liblogger": contents / "Frameworks/liblogger.so.1"}
    for file in prefix.glob("bin/*"):
        if file.read_bytes().startswith(b"\x7fELF"):
            found[file.name] = file
    return found


def versions_on_this_machine(programs):
    """The version of each library, told by other sources than the bill's."""
    compiler = output_of("readelf", "-p", ".comment", programs["launcher"])
    return {
        "jsoncpp": output_of("dpkg-query", "-W", "-f", "${Version}", "libjsoncpp-dev"),
        "libstdc++": re.search(r"GCC: .* ([0-9.]+)", compiler).group(1),
        "glibc": output_of("ldd", "--version").splitlines()[0].split()[-1],
    }


def test_it_is_written_as_cyclonedx_wants_it(bill):
    assert bill["bomFormat"] == "CycloneDX"
    assert re.fullmatch(r"1\.[456]", bill["specVersion"])
    assert bill["metadata"]["component"]["version"] == "1.0.0"
    references = [component["bom-ref"] for component in bill["components"]]
    assert len(set(references)) == len(references)


def test_it_lists_what_each_program_contains(bill, programs):
    listed = {(component["name"], program) for component in bill["components"]
              for program in component["properties"][0]["value"].split(", ")}
    contained = {(library, name) for name, file in programs.items()
                 for library, function in FUNCTIONS.items()
                 if re.search(function, output_of("nm", "-C", file))}
    assert listed == contained


def archives_of_link(command):
    """Returns the libraries in a command of the build, without those in folders of the build,
    which are the project's own."""
    words = re.split(r"[\s,]+", command)
    archives = {pathlib.Path(word).name for word in words
                if word.endswith(".a") and (word.startswith("/") or "/" not in word)}
    return archives | {word for word in words if word.startswith("-l")}


def test_nothing_is_linked_that_is_not_looked_for(release, programs):
    for file in programs.values():
        commands = output_of("ninja", "-C", release, "-t", "commands", file.name)
        assert archives_of_link(commands.splitlines()[-1]) <= ARCHIVES


def test_it_has_the_versions_that_are_linked(bill, programs):
    versions = versions_on_this_machine(programs)
    for component in bill["components"]:
        assert re.match(re.escape(component["version"]) + r"(\D|$)",
                        versions[component["name"]]), component["name"]
