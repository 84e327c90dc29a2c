"""Tests that the libraries of common/ offer the linker what external_symbols.txt lists.

A program's own function of the same name could replace any other symbol there.
"""

import re
import subprocess

from support import ROOT

# Weak symbols that headers bring into every program: those of the C++ library (with libc++
# its pow for numbers of two types is global), jsoncpp, the compiler and the C library.
FROM_HEADERS = re.compile(
    r"DW[.]ref[.]|__|_Z(T[VISTC]|Tv0_n[0-9]+_|GV|Z)*N?[KVrRO]*(S[tabsiod]|9__gnu_cxx|4Json)"
    r"|_Z(nw|dl|na|da)|_ZT[IS].*8_IO_FILE|_Z3powI")

# The two C++ libraries and the tools write the same names in different ways.
SAME_NAMES = [
    (r"\[abi:cxx11\]", ""),
    (r"std::__(cxx11|1)::", "std::"),
    (r">(?: (?=>))", ">"),
    (r"std::char_traits<(char|wchar_t)>, std::allocator<\1>", r"\1"),
    (r"std::basic_string<char, char>", "std::string"),
    (r"std::basic_string<wchar_t, wchar_t>", "std::wstring"),
    (r"std::vector<(std::w?string), std::allocator<\1>>", r"std::vector<\1>"),
    (r"std::basic_regex<char, std::regex_traits<char>>", "std::regex"),
    (r"std::basic_regex<wchar_t, std::regex_traits<wchar_t>>", "std::wregex"),
]


def in_one_way(name):
    for pattern, replacement in SAME_NAMES:
        name = re.sub(pattern, replacement, name)
    return name


def external_symbols(libraries):
    """Returns the names of the symbols that the libraries themselves define."""
    output = subprocess.check_output(
        ["nm", "--defined-only", "--extern-only", *libraries], text=True)
    symbols = [fields[1:] for fields in map(str.split, output.splitlines()) if len(fields) == 3]
    names = [name for kind, name in symbols
             if not (kind in "WVu" and FROM_HEADERS.match(name))]
    demangled = subprocess.check_output(["c++filt"], input="\n".join(names), text=True)
    return {in_one_way(name) for name in demangled.splitlines()}


def test_the_libraries_offer_the_linker_what_they_are_meant_to(build):
    meant = set((ROOT / "tests/common/external_symbols.txt").read_text().splitlines())
    offered = external_symbols(list(build.glob("common/*/lib*.a")))
    assert sorted(meant - offered) == []
    assert sorted(offered - meant) == []
