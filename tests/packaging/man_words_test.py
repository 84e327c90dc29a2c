#!/usr/bin/python3
"""Tests that man pages, as mandoc shows them, have the words and quotation marks that
stand in their sources:

    man_words_test.py PAGE...

mdoc takes a word that is the name of a macro for that macro, wherever it stands after the
first macro of a line; and a quotation goes on to the end of its line. Neither is an error
to the linter. Here the macros in ENCLOSING and PLAIN alone are macros, and a quotation
ends at the next punctuation mark that stands alone.
"""

import pathlib
import re
import shlex
import subprocess
import sys

ENCLOSING = {"Dq": "“”", "Do": "“", "Dc": "”", "Ql": "‘’"}
PLAIN = {"Ar", "Cm", "Dv", "Ev", "Fl", "Li", "Nm", "Ns", "Op", "Pa", "Pf", "Sx", "Xr"}
OF_THE_BLOCK = {"Bd", "Bl", "Dd", "Dt", "Ed", "El", "Os", "Pp"}
WITH_TEXT = {"Dl", "It", "Nd", "Sh", "Ss"}
PUNCTUATION = set(".,:;()[]?!|")
ESCAPES = {"&": "", "-": "-", "e": "\\", "(dq": '"'}


def plain(text):
    return re.sub(r"\\(\(..|.)", lambda found: ESCAPES[found[1]], text)


def split(line):
    lexer = shlex.shlex(line, posix=True, punctuation_chars=False)
    lexer.whitespace_split = True
    lexer.quotes, lexer.escape, lexer.commenters = '"', "", ""
    return list(lexer)


def words_of_macros(tokens, name):
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
            text.append(words_of_macros(rest, name))
        elif macro not in OF_THE_BLOCK:
            if macro not in PLAIN and macro not in ENCLOSING:
                sys.exit(f"{page}: the macro {macro} is not known to this test")
            if macro == "Nm" and rest and not name:
                name = rest[0]
            text.append(words_of_macros([macro, *rest], name))
    return "\n".join(text)


def text_as_shown(page):
    run = subprocess.run(["mandoc", "-T", "utf8", "-O", "width=1000", page],
                         stdout=subprocess.PIPE, check=True)
    text = re.sub(".\b", "", run.stdout.decode())
    return "\n".join(text.strip().splitlines()[1:-1])


def words(text):
    return re.findall(r"\w+|[“”‘’]", text)


def differs(page):
    """Prints where the first difference is, and returns whether there is one."""
    expected, shown = words(text_of_source(page)), words(text_as_shown(page))
    if expected == shown:
        return False
    place = next((i for i, (a, b) in enumerate(zip(expected, shown)) if a != b),
                 min(len(expected), len(shown)))
    near = slice(max(place - 6, 0), place + 8)
    print(f"FAILED: {page.name}: the source says ... {' '.join(expected[near])} ...")
    print(f"  and is shown as ... {' '.join(shown[near])} ...")
    return True


pages = [pathlib.Path(argument) for argument in sys.argv[1:]]
failures = sum([differs(page) for page in pages])
print(f"{len(pages)} pages, {failures} failed")
sys.exit(1 if failures or not pages else 0)
