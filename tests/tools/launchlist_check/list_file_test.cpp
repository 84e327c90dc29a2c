// Findings about the file in which a list is.

#include "tools/launchlist_check/list_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "harness/files.h"
#include "harness/process.h"
#include "tests/tools/launchlist_check/checked.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {
namespace {

class ListFile : public testing::Test {
  protected:
    // Returns what is printed about the file.
    static std::string Check(std::string const& path) {
        return ToLines({"list.json", CheckLaunchListFile(path)});
    }

    // Makes a named pipe.
    std::string Pipe() const {
        std::string path = directory.Path() / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    TempDirectory const directory;
};

// Returns what is printed if this is the only error.
std::string Error(std::string const& text) {
    return "list.json:1:1: error: " + text + "\nlist.json: 1 error\n";
}

TEST_F(ListFile, ThatCannotBeOpenedOrRead) {
    EXPECT_EQ(Check(directory.Path() / "missing"),
              Error("this cannot be opened: No such file or directory: the launcher ends "
                    "without a word, with exit code 0 [unreadable]"));
    EXPECT_EQ(Check(directory.Path()),
              Error("this is a directory: the launcher reads it for ever, in a busy loop "
                    "that only SIGKILL ends [directory]"));
    EXPECT_EQ(Check(directory.Write("list", ItemWith(""))), kOk);
}

TEST_F(ListFile, ThatNeverEnds) {
    std::string const device = Error(
        "this device seems to have no end: the launcher reads it until the memory runs "
        "out [device]");
    EXPECT_EQ(Check("/dev/zero"), device);
    EXPECT_EQ(Check("/dev/urandom"), device);
    EXPECT_EQ(
        Check("/dev/null"),
        Error(
            "this is empty: the launcher ends without a word, with exit code 0 [empty]"));
}

TEST_F(ListFile, ATerminalAtWhichNobodyTypesKeepsTheLauncherWaiting) {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(terminal);
    unlockpt(terminal);
    EXPECT_EQ(
        Check(ptsname(terminal)),
        Error("nothing comes from this device: the launcher waits for it [device]"));
    close(terminal);
}

TEST_F(ListFile, MayHaveTheNumberOfTheStandardInput) {
    std::string const path = Pipe();
    int const kept = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    EXPECT_THAT(Check(path), testing::HasSubstr("[named-pipe]"));
    dup2(kept, STDIN_FILENO);
    close(kept);
}

TEST_F(ListFile, ThatIsLongerThanAnyListIsNotRead) {
    std::string const path = directory.Write("long", "");
    std::string const too_large = Error(
        "this is longer than 64 MiB, too long for a launch list: it is not checked "
        "[too-large]");
    std::filesystem::resize_file(path, 64 * 1024 * 1024 + 1);
    EXPECT_EQ(Check(path), too_large);
    std::filesystem::resize_file(path, 1UL << 40U);
    EXPECT_EQ(Check(path), too_large);
    std::filesystem::resize_file(path, 64UL * 1024 * 1024);
    EXPECT_NE(Check(path), too_large);
}

TEST_F(ListFile, ThatIsANamedPipeWithoutAWriter) {
    EXPECT_EQ(Check(Pipe()), Error("this is a named pipe that nobody writes to: the "
                                   "launcher waits for a writer [named-pipe]"));
}

TEST_F(ListFile, ThatIsANamedPipeIsReadToTheEnd) {
    std::string const path = Pipe();
    std::string list = ItemWith("");
    list.insert(1, 200'000, ' ');
    Process writer([&] {
        WriteFile(path, list);
        return 0;
    });
    EXPECT_EQ(Check(path), kOk);
}

TEST_F(ListFile, ThatIsANamedPipeMayBeSlow) {
    std::string const path = Pipe();
    // A reader waits one second for a writer, but then for what it writes as long as it
    // takes.
    Process writer([&] {
        int const file = open(path.c_str(), O_WRONLY);
        usleep(1'300'000);
        return write(file, "{}", 2) == 2 ? 0 : 1;
    });
    EXPECT_EQ(Check(path),
              "list.json:1:1: warning: there is no item \"0\": the launcher runs and "
              "starts nothing [no-items]\n"
              "list.json: ok, 0 programs, 1 warning\n");
    EXPECT_EQ(writer.WaitForEnd(), "exit 0");
}

}  // namespace
}  // namespace launchlist_check
