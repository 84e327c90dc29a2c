"""Tests what the scripts do on machines that lack something.

    tests/support/contained /usr/bin/python3 -B -m pytest tests/pytest/test_setup.py
"""

import importlib.util
import pathlib
import sys

import pytest

from support import ROOT, run

# Here PATH holds imitations: a first configuration of build/release would keep their paths.
pytestmark = pytest.mark.usefixtures("home", "release")


class Machine:
    """This machine without some of its commands."""

    def __init__(self, folder, *lacking):
        self.bin = folder
        folder.mkdir()
        for command in pathlib.Path("/usr/bin").iterdir():
            if command.name not in lacking:
                (folder / command.name).symlink_to(command)

    def imitate(self, name, script):
        """Puts a shell script in the place of a command."""
        command = self.bin / name
        command.unlink(missing_ok=True)
        command.write_text(f"#!/bin/sh\n{script}\n")
        command.chmod(0o755)

    def run(self, command, *arguments, hidden=()):
        """Runs a command of the project without what is in the `hidden` folders.

        A Python package in them cannot be imported.
        """
        hide = "".join(f"mount -t tmpfs none {folder} &&"
                       f" echo 'raise ImportError()' >{folder}/__init__.py && "
                       for folder in hidden)
        return run("unshare", "--mount", "sh", "-c", f'{hide}PATH=$0 && exec "$@"', self.bin,
                   ROOT / command, *arguments, env={"CXX": None, "CMAKE_PREFIX_PATH": None})


@pytest.fixture
def machine(tmp_path):
    """Makes a machine: machine("cmake") lacks cmake."""
    return lambda *lacking: Machine(tmp_path / "bin", *lacking)


def folder_of(module):
    return pathlib.Path(importlib.util.find_spec(module).origin).parent


@pytest.mark.parametrize("script", ["run", "test"])
def test_no_known_package_manager_is_said_in_one_line(script, machine):
    machine("cmake", "apt-get", "brew").run(f"scripts/{script}").expect_only(
        1, f"scripts/{script}: missing: cmake; no package manager .*")


def test_no_permission_is_said_in_one_line(machine):
    poor = machine("cmake", "ninja", "sudo")
    poor.imitate("id", "echo 1000")
    poor.imitate("apt-get", "echo never called")
    poor.run("scripts/run").expect_only(
        1, "scripts/run: missing: cmake, ninja; no permission .*"
        "apt-get install cmake ninja-build")


def test_a_sudo_that_refuses_is_said(machine):
    refusing = machine("cmake")
    refusing.imitate("id", "echo 1000")
    refusing.imitate("sudo", 'echo "sudo $*"; exit 1')
    refusing.imitate("apt-get", "echo never called")
    # Without a terminal sudo must not ask for a password.
    refusing.run("scripts/run").expect(
        1, "sudo -n env .* apt-get install .* cmake",
        "scripts/run: apt-get could not install cmake; it says why above")


@pytest.mark.parametrize("compilers, words", [
    (["c++", "g++", "clang++"], r"a C\+\+ compiler"),
    (["cc", "gcc", "clang"], "a C compiler"),
])
def test_no_compiler_is_said_in_one_line(compilers, words, machine):
    machine(*compilers, "apt-get", "brew").run("scripts/run").expect_only(
        1, f"scripts/run: missing: {words}; no .*")


def test_no_compiler_on_a_mac_is_said_in_one_line(machine):
    mac = machine()
    mac.imitate("uname", "echo Darwin")
    mac.imitate("xcode-select", "exit 2")
    mac.run("scripts/run").expect_only(1, "scripts/run: .*'xcode-select --install' .*")


def test_brew_is_asked_on_a_mac(machine):
    mac = machine("ninja", "apt-get")
    mac.imitate("uname", "echo Darwin")
    mac.imitate("xcode-select", "exit 0")
    mac.imitate("brew", f'echo "brew $*"; ln -s /usr/bin/ninja {mac.bin}/ninja')
    mac.run("scripts/run", "--seconds", 1).expect(0, "brew install ninja")


@pytest.mark.parametrize("script, words", [
    ("run", "jsoncpp"), ("test", "jsoncpp, googletest"),
])
def test_missing_libraries_are_seen(script, words, machine):
    machine("apt-get", "brew").run(
        f"scripts/{script}", hidden=["/usr/include/jsoncpp", "/usr/include/gmock"]
        ).expect_only(1, f"scripts/{script}: missing: {words}; no .*")


def test_what_only_the_tests_need_is_seen(machine):
    words = ("mandoc, zsh, fish, jq, pytest, Python's jsonschema, Python's yaml,"
             " setsid and unshare, mount and umount")
    machine("mandoc", "zsh", "fish", "jq", "unshare", "umount", "apt-get", "brew").run(
        "scripts/test", hidden=[folder_of(name) for name in ("pytest", "jsonschema", "yaml")]
        ).expect_only(1, f"scripts/test: missing: {words}; no .*")


def test_the_python_that_is_asked_is_the_one_that_the_tests_run(machine):
    asking = machine("mandoc", "apt-get", "brew")
    # Neither a module of another python3 counts, nor the lack of one.
    asking.imitate("python3", "exit 1")
    asking.run("scripts/test").expect_only(1, "scripts/test: missing: mandoc; no .*")
    asking.imitate("python3", "exit 0")
    asking.run("scripts/test", hidden=[folder_of("pytest")]).expect_only(
        1, "scripts/test: missing: mandoc, pytest; no .*")
    assert sys.executable == "/usr/bin/python3"


@pytest.mark.parametrize("command", ["setsid", "unshare", "mount", "umount"])
def test_a_containment_without_its_commands_fails_and_is_not_skipped(
        command, machine, tmp_path):
    machine(command).run("tests/support/contained", "touch", tmp_path / "started").expect_only(
        127, f"contained: {command} is missing; scripts/test installs it")
    assert not (tmp_path / "started").exists()


def test_an_old_cmake_is_said_in_one_line(machine):
    old = machine()
    old.imitate("cmake", "echo cmake version 3.18.4")
    old.run("scripts/run").expect_only(
        1, "scripts/run: cmake 3.22 or newer is needed; this is 3.18")


def test_what_is_missing_is_installed_once(machine):
    bare = machine("cmake", "ninja")
    bare.imitate("id", "echo 0")
    bare.imitate("apt-get", 'echo "apt-get $*"; [ "$1" != install ] ||'
                 f" ln -s /usr/bin/cmake /usr/bin/ninja {bare.bin}")
    bare.run("scripts/run", "--seconds", 1).expect(
        0, "scripts/run: missing: cmake, ninja; installing .*",
        "apt-get install -y --no-install-recommends cmake ninja-build")
    bare.run("scripts/run", "--seconds", 1).expect(0).expect_no("apt-get|missing")


def test_an_installation_without_effect_is_said(machine):
    bare = machine("cmake")
    bare.imitate("id", "echo 0")
    bare.imitate("apt-get", "exit 0")
    bare.run("scripts/run").expect(
        1, "scripts/run: still missing after the installation: cmake")


def test_a_test_that_is_named_builds_only_its_program(machine):
    # CMake and CTest tell of build/dev, but build and test nothing.
    lazy = machine()
    lazy.imitate("cmake", 'case $1 in --build) echo "build: $*" ;;'
                 ' *) exec /usr/bin/cmake "$@" ;; esac')
    lazy.imitate("ctest", 'case $1 in -N) exec /usr/bin/ctest "$@" ;; esac')
    lazy.run("scripts/test", "-R", "HoldName").expect(
        0, r"build: .*--target process_handle_test")
    lazy.run("scripts/test", "-R", "HoldName|Documentation").expect(
        0, "build: .*").expect_no("--target")
