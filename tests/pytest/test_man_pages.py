"""Tests that the man pages are right, and show the words that stand in their sources.

mdoc takes a word that is the name of a macro for that macro, wherever it stands after the
first macro of a line; and a quotation goes on to the end of its line. Neither is an error
for mandoc's lint. In this test the macros in ENCLOSING and PLAIN alone are macros, and a
quotation ends at the next punctuation mark that stands alone.
"""

import itertools
import re
import shlex
import subprocess

import pytest

from support import ROOT

ENCLOSING = {"Dq": "“”", "Do": "“", "Dc": "”", "Ql": "‘’"}
PLAIN = {"Ar", "Cm", "Dv", "Ev", "Fl", "Li", "Nm", "Ns", "Op", "Pa", "Pf", "Sx", "Xr"}
OF_THE_BLOCK = {"Bd", "Bl", "Dd", "Dt", "Ed", "El", "Os", "Pp"}
WITH_TEXT = {"Dl", "It", "Nd", "Sh", "Ss"}
PUNCTUATION = set(".,:;()[]?!|")
ESCAPES = {"&": "", "-": "-", "e": "\\", "(dq": '"'}

PAGES = sorted(ROOT.glob("packaging/man/*"))
each_page = pytest.mark.parametrize("page", PAGES, ids=[page.name for page in PAGES])


def plain(text):
    return re.sub(r"\\(\(..|.)", lambda found: ESCAPES[found[1]], text)


def split(line):
    lexer = shlex.shlex(line, posix=True, punctuation_chars=False)
    lexer.whitespace_split = True
    lexer.quotes, lexer.escape, lexer.commenters = '"', "", ""
    return list(lexer)


def text_of_macros(tokens, name):
    """Returns the text of a line of macros, given without its leading full stop."""
    text, closing = [], ""
    if tokens[0] == "Nm" and PUNCTUATION.issuperset(tokens[1:]):
        text.append(name)
    for token in tokens:
        if token in PUNCTUATION and closing:
            text.append(closing)
            closing = ""
        if token in ENCLOSING:
            text.append(ENCLOSING[token][0])
            closing += ENCLOSING[token][1:]
        elif token not in PLAIN:
            text.append(plain(token))
    return " ".join(text) + closing


def text_of_source(page):
    """Returns what the page should show, without its header and footer."""
    text, name = [], ""
    for line in page.read_text(encoding="utf-8").splitlines():
        if not line.startswith("."):
            text.append(plain(line))
            continue
        macro, *rest = split(line[1:])
        if macro in WITH_TEXT:
            text.append(text_of_macros(rest, name))
        elif macro not in OF_THE_BLOCK:
            assert macro in PLAIN or macro in ENCLOSING, "this test does not know the macro"
            if macro == "Nm" and rest and not name:
                name = rest[0]
            text.append(text_of_macros([macro, *rest], name))
    return "\n".join(text)


def text_as_shown(page):
    shown = subprocess.check_output(["mandoc", "-T", "utf8", "-O", "width=1000", page])
    text = re.sub(".\b", "", shown.decode())
    return "\n".join(text.strip().splitlines()[1:-1])


def words(text):
    return re.findall(r"\w+|[“”‘’]", text)


@each_page
def test_mandoc_finds_no_fault(page):
    subprocess.run(["mandoc", "-T", "lint", "-W", "warning", page], check=True)


@each_page
def test_the_page_shows_the_words_of_its_source(page):
    expected, shown = words(text_of_source(page)), words(text_as_shown(page))
    same = sum(1 for _ in itertools.takewhile(lambda pair: pair[0] == pair[1],
                                              zip(expected, shown)))
    near = slice(max(same - 6, 0), same + 8)
    assert expected[same:] == shown[same:], (
        f"the source says ... {' '.join(expected[near])} ...\n"
        f"and is shown as ... {' '.join(shown[near])} ...")


def test_the_page_of_launchlist_check_explains_the_findings_that_are_tested():
    files = ROOT.glob("tests/tools/launchlist_check/*_test.cpp")
    tests = "".join(file.read_text() for file in files)
    page = (ROOT / "packaging/man/launchlist-check.1").read_text()
    diagnostics = page[page.index("\n.Sh DIAGNOSTICS"):]
    explained = set(re.findall(r"^\.It ([a-z-]+)$", diagnostics, re.M))
    tested = set(re.findall(r"\[([a-z-]+)\]\\n", tests))
    assert sorted(tested - explained) == []
    assert [kind for kind in sorted(explained)
            if f"[{kind}]" not in tests and f'"{kind}"' not in tests] == []
