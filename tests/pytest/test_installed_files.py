"""Tests that what was installed is complete, and that its documentation is true there.

--prefix names where it is installed. None of it is run, so it may be for another system.
"""

import re

import pytest

from support import ROOT

DOCUMENTS = "share/doc/tamlin-launcher"
ENTRYPOINT = "share/tamlin/container-entrypoint"
PROGRAMS = ["tamlin-launcher", *sorted(
    file.parent.name.replace("_", "-") for file in ROOT.glob("tools/*/main.cpp"))]
# Installed paths that a page names, without the prefix.
INSTALLED_PATH = re.compile(
    r"(?<![\w./~-])(?:(?:~|/home/you)/tamlin/|/usr/local/|/usr/)?"
    r"((?:(?:bin|lib/systemd|share)/|Tamlin\.app/)[\w./@-]*)")
SOURCE_PATH = re.compile(
    r"(?<![\w./-])(?:packaging|scripts|tests|tools|build|docs|common|launcher|bench|harness)/")


def is_for_macos(prefix):
    return (prefix / "Tamlin.app/Contents/Frameworks/liblogger.1.dylib").exists()


def expected_files(prefix):
    """Returns the files that every package has, without the prefix."""
    completions = [
        path for name in PROGRAMS for path in (
            f"bin/{name}", f"share/bash-completion/completions/{name}",
            f"share/zsh/site-functions/_{name}", f"share/fish/vendor_completions.d/{name}.fish")]
    pages = [f"share/man/man{page.suffix[1:]}/{page.name}"
             for page in ROOT.glob("packaging/man/*")]
    documents = [f"{DOCUMENTS}/{page.name}" for page in ROOT.glob("docs/*")]
    examples = [f"{DOCUMENTS}/examples/{file.name}" for pattern in (
        "examples/*", "packaging/logrotate-*", "packaging/newsyslog-*",
        "packaging/Containerfile", "packaging/kubernetes/*")
        for file in ROOT.glob(pattern)]
    if is_for_macos(prefix):
        of_the_system = ["Tamlin.app/Contents/Frameworks/liblogger.1.dylib",
                         "share/tamlin/com.tamlin.launcher.plist"]
    else:
        of_the_system = ["Tamlin.app/Contents/Frameworks/liblogger.so.1",
                         "lib/systemd/user/tamlin-launcher@.service", ENTRYPOINT]
    return {*completions, *pages, *documents, *examples, *of_the_system,
            f"{DOCUMENTS}/copyright", f"{DOCUMENTS}/tamlin-launcher.cdx.json", "share/tamlin/launch-list.schema.json",
            "share/tamlin/launcher.rules.yml",
            "Tamlin.app/Contents/Info.plist", "Tamlin.app/Contents/MacOS/launcher",
            "Tamlin.app/Contents/Resources/vopapi.ini"}


def installed_files(prefix):
    return {str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir()}


def pages_of(prefix):
    pages = sorted((prefix / DOCUMENTS).glob("*.md"))
    assert pages
    return pages


def test_no_file_is_missing_or_too_many(prefix):
    expected, installed = expected_files(prefix), installed_files(prefix)
    assert sorted(expected - installed) == []
    assert sorted(installed - expected) == []


@pytest.mark.parametrize("name", PROGRAMS)
def test_every_program_has_a_man_page(prefix, name):
    assert list(prefix.glob(f"share/man/man[18]/{name}.[18]"))


def test_programs_may_be_executed_by_all_and_nothing_else_by_anybody(prefix):
    def mode(path):
        return (prefix / path).stat().st_mode & 0o777

    libraries = {path for path in installed_files(prefix) if "/liblogger." in path}
    programs = {f"bin/{name}" for name in PROGRAMS} | {"Tamlin.app/Contents/MacOS/launcher"}
    if not is_for_macos(prefix):
        programs.add(ENTRYPOINT)
    others = installed_files(prefix) - programs - libraries
    assert [path for path in sorted(programs) if mode(path) & 0o555 != 0o555] == []
    assert [path for path in sorted(others) if mode(path) & 0o111] == []


def headings_of(page):
    """Returns the headings of the page, as links call them."""
    headings = re.findall(r"^##* (.*)", page.read_text(), re.M)
    return {re.sub(r"[^a-z0-9 _-]", "", heading.lower()).replace(" ", "-")
            for heading in headings}


def test_every_link_leads_somewhere(prefix):
    for page in pages_of(prefix):
        for link in re.findall(r"\]\(([^():]*)\)", page.read_text()):
            name, _, heading = link.partition("#")
            target = page.parent / name if name else page
            assert target.exists(), f"{page.name} links to {link}"
            assert not heading or heading in headings_of(target), f"{page.name} links to {link}"


def paths_in(text):
    return {path.rstrip(".") for path in INSTALLED_PATH.findall(text)}


def exists_on_a_system(prefix, path):
    # The one is for Linux, the other for macOS.
    return path.startswith("lib/systemd/") or path.endswith(".plist") or (prefix / path).exists()


def test_every_path_in_the_documentation_is_one_of_the_installed_files(prefix):
    for page in pages_of(prefix):
        text = page.read_text()
        if re.search(r"^Paths on this page are those in the sources\.$", text, re.M):
            continue
        text = re.sub(r"^### From the sources\n.*?(?=^##)", "", text, flags=re.M | re.S)
        assert not re.search(SOURCE_PATH, text), f"{page.name} names files of the sources"
        missing = [path for path in paths_in(text) if not exists_on_a_system(prefix, path)]
        assert missing == [], f"{page.name} names them"


def test_the_paths_in_the_documentation_are_found(prefix):
    found = paths_in((prefix / DOCUMENTS / "operating.md").read_text())
    assert {"bin/tamlin-launcher", "share/tamlin/launch-list.schema.json"} <= found
    assert any(path.startswith("lib/systemd/user/") for path in found)
    assert any(path.startswith("Tamlin.app/") for path in found)
