"""Tests that a program's help, its man page and its completions name the same options."""

import re
import subprocess

import pytest

from shells import COMPLETIONS, complete_in_bash, complete_in_fish
from support import ROOT


@pytest.fixture(params=["launch-with", "launcher-status", "launcher-stop", "launchlist-check",
                        "launchlist-export", "launchlog-report", "tamlin-launcher"])
def name(request):
    return request.param


@pytest.fixture
def options(name, build):
    """The program's options, as its help lists them."""
    program = build / "tools" / name.replace("-", "_") / name
    if not program.exists():
        program = ROOT / "packaging" / name
    text = subprocess.check_output([program, "--help"], text=True)
    found = set(re.findall(r"^  (--[a-z][a-z-]*)", text, re.M))
    assert found
    return found


@pytest.fixture
def page(name):
    """The source of the program's man page."""
    [file] = ROOT.glob(f"packaging/man/{name}.[18]")
    return file.read_text()


def synopsis_of(page):
    return page[page.index("\n.Sh SYNOPSIS"):page.index("\n.Sh DESCRIPTION")]


def options_of_mdoc(text):
    """Returns the options after Fl or "|"."""
    return {f"--{word}" for word in re.findall(r"(?:Fl|Fl h ,|\|) -([a-z][a-z-]+)", text)}


def test_the_synopsis_names_them(page, options):
    assert options_of_mdoc(synopsis_of(page)) == options


def test_the_synopsis_names_the_short_option_for_help(page):
    assert re.search(r"^\.Fl h \|", synopsis_of(page), re.M)


def test_the_man_page_explains_them(page, options):
    explained = "\n".join(re.findall(r"^\.It Fl.*", page, re.M))
    assert options_of_mdoc(explained) == options


def test_bash_completes_them(name, options):
    assert set(complete_in_bash(name, "--")) == options


def test_zsh_completes_them(name, options):
    text = (COMPLETIONS / f"_{name}").read_text()
    assert set(re.findall(r"[(){,'*](--[a-z-]+)", text)) == options


def test_fish_completes_them(name, options):
    assert set(complete_in_fish(f"{name} --")) == options
