// Launch lists that are wrong, or unusual.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/sanitizers.h"
#include "tests/support/system_call.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FaultList : public LauncherTest {
  protected:
    // Waits until the launcher's main thread is in a system call for which `does` is
    // true.
    bool WaitUntilIt(bool (*does)(SystemCall const&)) const {
        return WaitFor(
            [&] { return does(SystemCallOf(launcher->Pid(), launcher->Pid())); });
    }

    // Expects that the launcher refuses the list that it was started with.
    void ExpectThatItLogsItsLineAndEndsWithZero() {
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
        EXPECT_THAT(Messages("ERROR"),
                    ElementsAre("[LAUNCHER  ] Error while parsing saved json string."));
        EXPECT_THAT(Starts(), IsEmpty());
        EXPECT_THAT(system_log.Received(), IsEmpty());
    }
};

using FaultUnreadableList = LimitedLauncherTest;

TEST_F(FaultUnreadableList, SilentlyEndsItWithZero) {
    WriteFile(list_file, "");
    std::filesystem::permissions(list_file, std::filesystem::perms(0600));
    StartLimited(ListText({Item("a")}), 20);
    EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    EXPECT_THAT(Starts(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(FaultList, AFifoIsWaitedForAndReadUntilItsWriterCloses) {
    ASSERT_EQ(mkfifo(list_file.c_str(), 0666), 0);
    StartWith({"test", list_file});
    ASSERT_TRUE(WaitUntilIt(IsOpening));
    int const writer = open(list_file.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_TRUE(WaitUntilIt(IsReading));
    std::string const list = ListText({Item("a")});
    ASSERT_EQ(write(writer, list.data(), list.size()), static_cast<ssize_t>(list.size()));
    // It has taken the whole list and reads on.
    ASSERT_TRUE(WaitFor([writer] {
        int unread = 1;
        return ioctl(writer, FIONREAD, &unread) == 0 && unread == 0;
    }));
    ASSERT_TRUE(WaitUntilIt(IsReading));
    EXPECT_THAT(Starts(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    close(writer);
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(Starts(), testing::SizeIs(1));
}

// ThreadSanitizer installs handlers that interrupt system calls for good.
#if !UNDER_TSAN
// Returns whether a SIGTERM was sent to the process and has not arrived.
bool HasPendingSigterm(pid_t pid) {
    unsigned long const pending =
        std::stoul(ProcValue(pid, "status", "ShdPnd"), nullptr, 16);
    return (pending >> (SIGTERM - 1) & 1) != 0;
}

TEST_F(FaultList, AFifoIsWaitedForThroughASigterm) {
    ASSERT_EQ(mkfifo(list_file.c_str(), 0666), 0);
    StartWith({"test", list_file});
    ASSERT_TRUE(WaitUntilIt(IsOpening));
    launcher->Signal(SIGTERM);
    ASSERT_TRUE(WaitFor([this] { return !HasPendingSigterm(launcher->Pid()); }));
    ASSERT_TRUE(WaitUntilIt(IsOpening));
    int const writer = open(list_file.c_str(), O_WRONLY | O_CLOEXEC);
    std::string const list = ListText({Item("a")});
    ASSERT_EQ(write(writer, list.data(), list.size()), static_cast<ssize_t>(list.size()));
    close(writer);
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
}
#endif

TEST_F(FaultList, AFifoWhoseWriterWritesNothingSilentlyEndsItWithZero) {
    ASSERT_EQ(mkfifo(list_file.c_str(), 0666), 0);
    StartWith({"test", list_file});
    close(open(list_file.c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

std::string HundredMegabytes() {
    std::string text;
    text.resize(100'000'000, 'b');
    return text;
}

TEST_F(FaultList, AHundredMegabytesAreRead) {
    Start(R"({"ballast": ")" + HundredMegabytes() + R"(", "0": )" + Item("a") + "}");
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(FaultList, AHundredMegabytesThatAreNoJsonEndItWithZero) {
    Start(HundredMegabytes());
    ExpectThatItLogsItsLineAndEndsWithZero();
}

// Returns a list of `levels` levels: the list, its item, and arrays, each in the one
// before.
std::string NestedList(std::string item, std::size_t levels) {
    item.insert(1, R"("deep": )" + std::string(levels - 2, '[') +
                       std::string(levels - 2, ']') + ", ");
    return R"({"0": )" + item + "}";
}

TEST_F(FaultList, AThousandLevelsAreRead) {
    Start(NestedList(Item("a"), 1000));
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(FaultList, AThousandAndOneLevelsEndItWithZero) {
    Start(NestedList(Item("a"), 1001));
    ExpectThatItLogsItsLineAndEndsWithZero();
}

TEST_F(FaultList, BytesThatAreNoUtf8ArePassedOnAsTheyAre) {
    std::string const name = "caf\xE9 \xFF\xC0\x80";
    Start(ListText({Item(name, {"--hold", "\xE9", "\xED\xA0\x80", "\xF5"})}));
    ProgramStart const start = WaitForStarts(1)[0];
    EXPECT_THAT(start.arguments,
                ElementsAre(TEST_PROGRAM, "--hold", "\xE9", "\xED\xA0\x80", "\xF5"));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(Messages("DEBUG"), ElementsAre("[LAUNCHER  ] Start to fork " + name));
    EXPECT_THAT(Messages("ERROR"), ElementsAre(Killed(name, start.pid, 9)));
}

TEST_F(FaultList, ByteOrderMarksOfUtf16EndItWithZero) {
    Start("\xFF\xFE" + ListText({Item("a")}));
    ExpectThatItLogsItsLineAndEndsWithZero();
}

TEST_F(FaultList, Utf16EndsItWithZero) {
    std::string wide;
    for (char const byte : ListText({Item("a")})) {
        wide += byte;
        wide += '\0';
    }
    Start(wide);
    ExpectThatItLogsItsLineAndEndsWithZero();
}

TEST_F(FaultList, OfTwoMembersWithTheSameKeyTheLaterOneCounts) {
    std::string item = Item("later name", {"--hold", "later"});
    item.insert(1, R"("name": "earlier name", "program": "/nonexistent", "argc": 7, )");
    Start(R"({"0": )" + Item("b", {"--hold", "earlier"}) + R"(, "0": )" + item + "}");
    pid_t const program = WaitForStarts(1, "later")[0].pid;
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    EXPECT_THAT(Starts(), testing::SizeIs(1));
    EXPECT_THAT(Messages("DEBUG"), ElementsAre("[LAUNCHER  ] Start to fork later name"));
}

}  // namespace
