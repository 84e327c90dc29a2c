"""Tests what is shipped for macOS: that scripts/macos/check-bundle finds the defects that it
looks for, the files that go with the bundle, the archive, and what scripts/build-macos
refuses.

--prefix names what scripts/build-macos has built, build/macos/Tamlin if it is not given.
"""

import os
import plistlib
import re
import shutil
import tarfile

import pytest

from support import ROOT, run

CHECK = ROOT / "scripts/macos/check-bundle"
COMPILER = ROOT / "scripts/macos/c++"
ID = "@executable_path/../Frameworks/liblogger.1.dylib"
EXPORTS = ["-Wl,-exported_symbol,_InitLogger", "-Wl,-exported_symbol,_GetLogger"]
ARCHITECTURES = ["arm64", "x86_64"]

# A library that is as it should be.
LIBRARY_SOURCE = """
#include <stdexcept>
#include <string>
extern "C" int InitLogger(char const* text) try {
    return std::stoi(text);
} catch (std::exception const&) {
    return 1;
}
extern "C" int GetLogger() { return 2; }
extern "C" int Another() { return 3; }
"""
LIBRARY_WITHOUT_HANDLERS = """
extern "C" int InitLogger() { return 1; }
extern "C" int GetLogger() { return 2; }
"""
PROGRAM_WITH_A_HANDLER = """
#include <string>
int main(int, char** argv) try {
    return std::stoi(*argv);
} catch (std::exception const&) {
    return 1;
}
"""
LAUNCHER_WITHOUT_JSONCPP = 'extern "C" int GetLogger(); int main() { return GetLogger(); }'
LAUNCHER_WITH_EXPORTS = """
namespace Json { struct Reader { void parse(); }; void Reader::parse() {} }
extern "C" int GetLogger();
int Start() { return GetLogger(); }
"""


@pytest.fixture(scope="module")
def sound(pytestconfig):
    """The folder that scripts/build-macos has made."""
    return (pytestconfig.getoption("--prefix") or ROOT / "build/macos/Tamlin").resolve()


class Copy:
    """A copy of what is shipped, to put a defect into."""

    def __init__(self, sound, folder):
        self.folder = folder / "Tamlin"
        shutil.copytree(sound, self.folder)
        self.work = folder
        contents = self.folder / "Tamlin.app/Contents"
        self.launcher = contents / "MacOS/launcher"
        self.library = contents / "Frameworks/liblogger.1.dylib"
        self.information = contents / "Info.plist"
        self.product = contents / "Resources/vopapi.ini"
        self.tool = self.folder / "bin/launchlist-check"

    def build(self, file, source, *for_linker):
        """Builds a file for both architectures."""
        (self.work / "source.cpp").write_text(source)
        for architecture in ARCHITECTURES:
            program, compiled = self.work / architecture, self.work / f"{architecture}.o"
            compiler = [COMPILER, "-arch", architecture]
            run(*compiler, "-O2", "-std=c++17", "-c", self.work / "source.cpp", "-o",
                compiled).expect(0)
            run(*compiler, *for_linker, compiled, "-o", program).expect(0)
        self.join(file)

    def build_library(self, *for_linker, source=LIBRARY_SOURCE):
        self.build(self.library, source, "-dynamiclib", "-install_name", ID, *for_linker)

    def join(self, file):
        """Makes a file of the slices in `work`."""
        run("llvm-lipo-15", "-create", *[self.work / name for name in ARCHITECTURES],
            "-output", file).expect(0)

    def patch_launcher(self, pattern, offset, replacement):
        """Changes bytes at the offset from the first match, in the slice for arm64."""
        for architecture in ARCHITECTURES:
            run("llvm-lipo-15", self.launcher, "-thin", architecture, "-output",
                self.work / architecture).expect(0)
        slice_file = self.work / "arm64"
        data = bytearray(slice_file.read_bytes())
        start = re.search(pattern, data, re.S).start() + offset
        data[start:start + len(replacement)] = replacement
        slice_file.write_bytes(data)
        self.join(self.launcher)

    def rename_library(self, *arguments):
        run("llvm-install-name-tool-15", *arguments).expect(0)

    def expect_defect(self, words):
        """Expects the check to fail with a sentence that the pattern matches."""
        __tracebackhide__ = True
        run(CHECK, self.folder).expect(1, f"scripts/macos/check-bundle: {words}")


@pytest.fixture
def copy(sound, tmp_path):
    return Copy(sound, tmp_path)


def replace(file, old, new):
    """Replaces bytes or text in a file, which has them."""
    data = file.read_bytes()
    old, new = (text if isinstance(text, bytes) else text.encode() for text in (old, new))
    assert old in data
    file.write_bytes(data.replace(old, new))


def test_a_sound_bundle_passes(copy):
    run(CHECK, copy.folder).expect_only(0, f".*: {copy.folder} has no defect")


def test_a_library_as_it_should_be_passes(copy):
    copy.build_library(*EXPORTS)
    run(CHECK, copy.folder).expect(0)


def test_a_missing_file_is_found(copy):
    copy.product.unlink()
    copy.expect_defect("the bundle is not made of its four files, but of: .*/MacOS/launcher")


def test_an_additional_file_is_found(copy):
    (copy.product.parent / "other.ini").touch()
    copy.expect_defect(r"the bundle is not made of its four files, but of: .*other\.ini.*")


def test_a_launcher_that_may_not_be_executed_is_found(copy):
    copy.launcher.chmod(0o644)
    copy.expect_defect("the launcher may not be executed")


@pytest.mark.parametrize("name", ["launchlist-check", "launchlog-report"])
def test_a_missing_tool_is_found(copy, name):
    (copy.folder / "bin" / name).unlink()
    copy.expect_defect(f"there is no tool {name} that may be executed")


def test_a_tool_that_may_not_be_executed_is_found(copy):
    copy.tool.chmod(0o644)
    copy.expect_defect("there is no tool launchlist-check that may be executed")


@pytest.mark.parametrize("part", ["launcher", "library", "tool"])
def test_a_missing_slice_is_found(copy, part):
    file = getattr(copy, part)
    words = f"{re.escape(file.name)} is not built for arm64 and x86_64, but for:"
    run("llvm-lipo-15", file, "-thin", "arm64", "-output", copy.work / "thin").expect(0)
    shutil.copyfile(copy.work / "thin", file)
    copy.expect_defect(f"{words} arm64")
    file.write_bytes(b"")
    copy.expect_defect(f"{words} nothing")


@pytest.mark.parametrize("part, old, new, words", [
    ("launcher", ID, "/usr/lib/liblogger.1.dylib", rf"launcher\.arm64 does not load {ID}"),
    ("launcher", "/usr/lib/libSystem.B.dylib", "/opt/homebrew/lib/libjsoncpp.25.dylib",
     r"launcher\.arm64 loads /opt/.*, which is no part of the system"),
    ("tool", "/usr/lib/libSystem.B.dylib", "/opt/homebrew/lib/libjsoncpp.25.dylib",
     r"launchlist-check\.arm64 loads /opt/.*, which is no part of the system"),
    ("tool", "/usr/lib/libSystem.B.dylib", ID,
     rf"launchlist-check\.arm64 loads {ID}, which is no part of the system"),
])
def test_a_program_that_loads_another_library_is_found(copy, part, old, new, words):
    copy.rename_library("-change", old, new, getattr(copy, part))
    copy.expect_defect(words)


def test_a_launcher_without_jsoncpp_is_found(copy):
    copy.build(copy.launcher, LAUNCHER_WITHOUT_JSONCPP, copy.library)
    copy.expect_defect(r"jsoncpp is not inside launcher\.arm64")


def test_a_launcher_that_exports_something_is_found(copy):
    copy.build(copy.launcher, LAUNCHER_WITH_EXPORTS, "-dynamiclib", "-install_name", ID,
               copy.library)
    copy.expect_defect(
        r"launcher\.arm64 exports .*: the system's libraries would use its .*")


def test_a_library_of_another_name_is_found(copy):
    copy.rename_library("-id", "/usr/local/lib/liblogger.1.dylib", copy.library)
    copy.expect_defect(rf"the id of liblogger\.1\.dylib\.arm64 is /usr/local/.*, not {ID}")


@pytest.mark.parametrize("exports, found", [
    (EXPORTS + ["-Wl,-exported_symbol,_Another"], "_Another _GetLogger _InitLogger"),
    (EXPORTS[1:], "_GetLogger"),
])
def test_a_library_that_exports_more_or_less_is_found(copy, exports, found):
    copy.build_library(*exports)
    copy.expect_defect(r"liblogger\.1\.dylib\.arm64 does not export _GetLogger and _InitLogger"
                       f" alone, but: {found}")


def test_a_newer_system_is_found(copy):
    copy.build(copy.tool, "int main() {}", "-mmacosx-version-min=12.0")
    copy.expect_defect(r"launchlist-check\.arm64 runs from macOS 12\.0 on, not from 11\.0")
    copy.build_library(*EXPORTS, "-mmacosx-version-min=12.0")
    copy.expect_defect(r"liblogger\.1\.dylib\.arm64 runs from macOS 12\.0 on, not from 11\.0")


def test_a_library_without_handlers_of_exceptions_is_found(copy):
    copy.build_library(source=LIBRARY_WITHOUT_HANDLERS)
    copy.expect_defect(r"liblogger\.1\.dylib\.arm64 has no handlers of exceptions")


def test_functions_that_an_exception_cannot_pass_are_found(copy):
    # The section of unwinding begins with the version 1 and the offset 28, where the common
    # encodings are.
    copy.patch_launcher(rb"\x01\0\0\0\x1c\0\0\0.\0\0\0", 28, b"\0\0\0\x03")
    copy.expect_defect(r"launcher\.arm64 has functions that an exception cannot pass")


def test_a_missing_signature_is_found(copy):
    copy.build(copy.tool, PROGRAM_WITH_A_HANDLER, "-Wl,-no_adhoc_codesign")
    copy.expect_defect(r"launchlist-check\.arm64 is not signed")
    copy.build_library(*EXPORTS, "-Wl,-no_adhoc_codesign")
    copy.expect_defect(r"liblogger\.1\.dylib\.arm64 is not signed")


@pytest.mark.parametrize("part, text", [
    ("launcher", b"wrong parameters."), ("tool", b"no launch list is named")])
def test_a_file_that_was_changed_after_it_was_signed_is_found(copy, part, text):
    replace(getattr(copy, part), text, text.capitalize())
    copy.expect_defect(
        rf"{getattr(copy, part).name}\.arm64 was changed after it was signed")


@pytest.mark.parametrize("offset, value, words", [
    (3, b"\x03", "has no code directory"),
    (12, b"\0\0\0\0", "is not an ad-hoc one"),
    (37, b"\x01", "is not made of SHA-256 hashes"),
    (32, b"\0\0\x10\0", "covers 4096 bytes, not [0-9]*"),
])
def test_a_signature_that_does_not_fit_is_found(copy, offset, value, words):
    copy.patch_launcher(rb"\xfa\xde\x0c\x02", offset, value)
    copy.expect_defect(rf"the signature of launcher\.arm64 {words}")


IDENTIFIER = "\t<key>CFBundleIdentifier</key>\n\t<string>com.tamlin.launcher</string>\n"


@pytest.mark.parametrize("old, new, words", [
    ("</dict>", "", r"Info\.plist is not a property list"),
    ("<true/>", "<yes/>", r"Info\.plist is not a property list"),
    ("<true/>", "<false/>", r"Info\.plist does not say that .* without a user interface"),
    ("LSBackgroundOnly", "NSPrincipalClass",
     r"Info\.plist does not say that .* without a user interface"),
    (IDENTIFIER, "", r"in .* CFBundleIdentifier is not there, not com\.tamlin\.launcher"),
    ("<string>launcher</string>", "<string>Tamlin</string>",
     "in .* CFBundleExecutable is Tamlin, not launcher"),
    ("<string>11.0</string>", "<string>10.15</string>",
     r"in .* LSMinimumSystemVersion is 10\.15, not 11\.0"),
    ("<string>1.0.0</string>", "<string>one</string>",
     r"in Info\.plist CFBundleShortVersionString is not a version"),
])
def test_information_that_is_wrong_is_found(copy, old, new, words):
    replace(copy.information, old, new)
    copy.expect_defect(words)


@pytest.mark.parametrize("text", ["", "[SDK]\n", "[SDK]\nNAME=\n", "[SDK]\n[OTHER]\nNAME=Tamlin\n"])
def test_a_product_without_a_name_is_found(copy, text):
    copy.product.write_text(text)
    copy.expect_defect(r"vopapi\.ini does not name the product")


def test_the_archive_has_the_files_of_the_folder_and_no_folder(sound, tmp_path):
    # So folders that are already there, such as /usr/local/bin, keep their owner and mode.
    [file] = sound.parent.glob("Tamlin-*.tar.gz")
    with tarfile.open(file) as archive:
        assert [member.name for member in archive if member.isdir()] == []
        archive.extractall(tmp_path)
    name = file.name.removesuffix(".tar.gz")
    assert [path.name for path in tmp_path.iterdir()] == [name]
    run("diff", "-r", sound, tmp_path / name).expect(0)


@pytest.fixture
def agent(sound):
    """The agent's plist, as a dictionary."""
    file = sound / "share/tamlin/com.tamlin.launcher.plist"
    run("xmllint", "--nonet", "--noout", "--dtdvalid", "plist.dtd", file,
        cwd=ROOT / "scripts/macos").expect(0)
    return plistlib.loads(file.read_bytes())


def test_the_agent_starts_the_wrapper_by_a_shell_that_it_replaces(agent, tmp_path):
    shell, option, command = agent["ProgramArguments"]
    assert (shell, option) == ("/bin/sh", "-c")
    assert command.startswith("exec /usr/local/bin/tamlin-launcher agent ")
    wrapper = tmp_path / "tamlin-launcher"
    wrapper.write_text('#!/bin/sh\nprintf "%s\\n" "$@" "an error" >&2\nexit 2\n')
    wrapper.chmod(0o755)
    home = tmp_path / "a home"
    (home / "Library/Logs").mkdir(parents=True)
    run("sh", "-c", command.replace("/usr/local/bin", str(tmp_path), 1),
        env={"HOME": home}).expect(2)
    assert (home / "Library/Logs/tamlin-launcher.txt").read_text().splitlines() == [
        "agent", f"{home}/Library/Application Support/Tamlin/launch-list.json", "an error"]


def test_the_agent_starts_at_login_and_is_not_kept_alive(agent):
    assert agent["RunAtLoad"] is True
    assert "KeepAlive" not in agent


def test_the_log_is_rotated_without_a_signal():
    text = (ROOT / "packaging/newsyslog-tamlin.conf").read_text()
    [line] = [line for line in text.splitlines() if not line.startswith("#")]
    assert re.fullmatch(r"/Users/[a-z]+/Library/Logs/Tamlin/voplog/launcher\.log +[a-z]+:staff"
                        r" +644 +[0-9]+ +[0-9]+ +\* +BN", line)


@pytest.mark.parametrize("script, arguments, words", [
    ("scripts/build-macos", ["--fast"], "unknown argument --fast; .*"),
    ("scripts/macos/check-bundle", [], "it takes one folder; .*"),
    ("scripts/macos/check-bundle", ["/nothing/here"], "there is no bundle in /nothing/here"),
])
def test_wrong_arguments_are_refused_in_one_line(script, arguments, words):
    run(ROOT / script, *arguments).expect_only(1, f"{script}: {words}")


def test_another_system_is_refused_in_one_line(tmp_path):
    uname = tmp_path / "uname"
    uname.write_text("#!/bin/sh\necho Darwin arm64\n")
    uname.chmod(0o755)
    run(ROOT / "scripts/build-macos", env={"PATH": f"{tmp_path}:{os.environ['PATH']}"}).expect_only(
        1, "scripts/build-macos: it runs on Linux and an x86-64 .*")
