// Compares the prediction whether a file can be executed with what the system does.

#include "tools/launchlist_check/program_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "harness/files.h"
#include "harness/process.h"

namespace launchlist_check {
namespace {

class WhyNotExecutableTest : public testing::Test {
  protected:
    // Makes a file that may be executed.
    std::string Program(std::string const& name, std::string const& content) const {
        std::string path = directory.Write(name, content);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
        return path;
    }

    // Expects the reason, and that the system executes the file only if there is none.
    static void ExpectReason(std::string const& path, std::string const& reason) {
        EXPECT_EQ(WhyNotExecutable(path), reason);
        Process process({path});
        std::string const end = process.WaitForEnd();
        EXPECT_EQ(end, reason.empty() ? "exit 0" : "exit 127") << path;
    }

    TempDirectory const directory;
};

TEST_F(WhyNotExecutableTest, ProgramsAndScriptsAreExecuted) {
    ExpectReason("/bin/true", "");
    ExpectReason(Program("script", "#!/bin/sh\nexit 0\n"), "");
    ExpectReason(Program("blanks", "#! \t/bin/sh -e\nexit 0\n"), "");
    ExpectReason(Program("unended", "#!/bin/true"), "");
    std::filesystem::create_symlink("/bin/true", directory.Path() / "link");
    ExpectReason(directory.Path() / "link", "");
}

TEST_F(WhyNotExecutableTest, AMissingFileIsNotExecuted) {
    ExpectReason(directory.Path() / "missing", "No such file or directory");
    ExpectReason("/bin/sh/below", "Not a directory");
    ExpectReason("/" + std::string(100000, 'a'), "File name too long");
    std::filesystem::create_symlink("nowhere", directory.Path() / "dangling");
    ExpectReason(directory.Path() / "dangling", "No such file or directory");
}

TEST_F(WhyNotExecutableTest, DirectoriesAndDevicesAreNotExecuted) {
    ExpectReason(directory.Path(), "it is a directory");
    ExpectReason("/dev/null", "it is not a regular file");
    std::string const pipe = directory.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0755), 0);
    ExpectReason(pipe, "it is not a regular file");
}

TEST_F(WhyNotExecutableTest, AFileWithoutPermissionIsNotExecuted) {
    ExpectReason(directory.Write("plain", "#!/bin/sh\n"), "this user may not execute it");
}

TEST_F(WhyNotExecutableTest, AnEmptyFileIsNotExecuted) {
    ExpectReason(Program("empty", ""), "it is empty");
}

TEST_F(WhyNotExecutableTest, AScriptWithoutAnInterpreterIsNotExecuted) {
    char const* const reason = R"(it is a script without "#!" in its first line)";
    ExpectReason(Program("bare", "exit 0\n"), reason);
    ExpectReason(Program("late", "\n#!/bin/sh\nexit 0\n"), reason);
    ExpectReason(Program("mark", "\xEF\xBB\xBF#!/bin/sh\nexit 0\n"), reason);
    ExpectReason(Program("none", "#!\nexit 0\n"),
                 "it names no interpreter after its \"#!\"");
    ExpectReason(Program("blank", "#!  \nexit 0\n"),
                 "it names no interpreter after its \"#!\"");
}

TEST_F(WhyNotExecutableTest, AProgramOfAnotherSystemIsNotAScript) {
    ExpectReason(Program("mach_o", "\xCF\xFA\xED\xFE text"), "it is a Mach-O file");
    ExpectReason(Program("windows", "MZ text"), "it is a program for Windows");
    ExpectReason(Program("elf",
                         "\x7F"
                         "ELF text"),
                 "it is the beginning of an ELF file");
}

TEST_F(WhyNotExecutableTest, AScriptWhoseInterpreterCannotBeExecutedIsNotExecuted) {
    ExpectReason(Program("lost", "#!/nothing/here\n"),
                 "its interpreter \"/nothing/here\": No such file or directory");
    ExpectReason(Program("windows", "#!/bin/sh\r\nexit 0\r\n"),
                 "its interpreter \"/bin/sh\r\": No such file or directory");
    ExpectReason(Program("folder", "#!/tmp\n"),
                 "its interpreter \"/tmp\": it is a directory");
}

TEST_F(WhyNotExecutableTest, ABinaryOfAnUnknownKindIsLeftToTheSystem) {
    EXPECT_EQ(WhyNotExecutable(Program("binary", std::string("\x7F\0\x01", 3))), "");
}

}  // namespace
}  // namespace launchlist_check
