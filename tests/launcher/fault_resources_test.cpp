// The launcher when the system refuses it something: processes, threads, descriptors, or
// a place for its log.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "harness/launcher_main.h"
#include "harness/proc.h"
#include "harness/system.h"
#include "harness/wait_for.h"
#include "tests/support/disk.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/log_gate.h"
#include "tests/support/sanitizers.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

using FaultNoTask = LimitedLauncherTest;

TEST_F(FaultNoTask, WithoutAProcessForOneItemTheOthersRunOnUntilTheStopKillsAll) {
    std::filesystem::path const word = directory.Path() / "word";
    std::vector<std::string> const names = {"a", "b", "c"};
    std::vector<std::string> items;
    for (std::string const& name : names) {
        items.push_back(Item(name, {"--until=" + word.string(), name}));
    }
    // Main, three supervising threads and two programs.
    StartLimited(ListText(items), 6);
    WaitForStarts(2);
    ASSERT_TRUE(WaitFor([this] { return CountInLog("Failed to fork ") == 1; }));
    auto const failed =
        std::find_if(names.begin(), names.end(),
                     [this](std::string const& name) { return Starts(name).empty(); });
    ASSERT_NE(failed, names.end());
    EXPECT_THAT(Messages("ERROR"), ElementsAre("[LAUNCHER  ] Failed to fork " + *failed));
    for (ProgramStart const& start : Starts()) {
        kill(start.pid, SIGKILL);
        WaitForStarts(2, start.arguments[2]);
    }
    std::vector<pid_t> const others = LinksAndPrograms();
    EXPECT_THAT(others, testing::SizeIs(2));
    EXPECT_EQ(CountInLog("Start to fork " + *failed), 1U);

    ASSERT_TRUE(WaitUntilMainWaits());
    launcher->Signal(SIGTERM);
    for (pid_t const program : others) {
        EXPECT_TRUE(WaitFor([program] { return IsGone(program); }));
    }
    // The stop of the failed item kills the other programs too. One whose own item is
    // not stopped yet is started once more.
    WriteFile(word, "");
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    EXPECT_THAT(LinksAndPrograms(), IsEmpty());
    for (pid_t const program : others) {
        std::string const id = std::to_string(program);
        EXPECT_EQ(CountInLog(id + " is killed. ret = " + id + ", status = 9"), 1U);
    }
    EXPECT_EQ(CountInLog("Start to fork " + *failed), 1U);
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(FaultNoTask, WithoutAThreadItSaysItsLineStopsWhatItStartedAndEndsWithZero) {
    LogGate gate(log_file);
    std::filesystem::permissions(log_file, std::filesystem::perms(0666));
    SetLogLevel("ERROR");
    // Main, one supervising thread and its program. The second item holds main up until
    // the program runs.
    StartLimited(ListText({Item("a"), "{}", Item("c"), Item("d")}), 3);
    pid_t const program = WaitForStarts(1)[0].pid;
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    gate.Open();
    EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    EXPECT_THAT(LinksAndPrograms(), IsEmpty());
    EXPECT_THAT(
        gate.Log(),
        ElementsAre(EndsWith("[LAUNCHER  ] There is an item has no name."),
                    EndsWith("[LAUNCHER  ] Error while parsing saved json string."),
                    EndsWith(Killed("a", program, 9))));
    EXPECT_THAT(Starts(), testing::SizeIs(1));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

class FaultNoDescriptor : public LauncherTest {
  protected:
    // Runs main in a forked copy of the test that may open no descriptor: a program could
    // not be loaded there.
    std::string RunMainWithoutDescriptors(std::vector<std::string> arguments) {
        Process process([&arguments] {
            rlimit const none = {0, 0};
            setrlimit(RLIMIT_NOFILE, &none);
            return launcher_main(static_cast<int>(arguments.size()),
                                 Pointers(arguments).data());
        });
        return process.WaitForEnd();
    }
};

TEST_F(FaultNoDescriptor, WithOnlyItsStandardStreamsTheSystemCannotLoadIt) {
    rlimit const three = {3, 3};
    Start(ListText({Item("a")}), [&three] { setrlimit(RLIMIT_NOFILE, &three); });
    EXPECT_EQ(launcher->WaitForEnd(), "exit 127");
    EXPECT_THAT(Starts(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

// Without a descriptor of its own, a sanitizer never ends.
#if !UNDER_ASAN && !UNDER_TSAN
TEST_F(FaultNoDescriptor, InPlaceOfItsStandardStreamsItRunsWithoutALog) {
    Start(ListText({RestlessItem("a"), Item("b", {"--hold", "b"})}), [] {
        rlimit const three = {3, 3};
        setrlimit(RLIMIT_NOFILE, &three);
        CloseDescriptorsFrom(STDIN_FILENO);
    });
    WaitForStarts(3, "a");
    pid_t const program = WaitForStarts(1, "b")[0].pid;
    LetRest();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    // The file is there, since it was opened in the place of standard input.
    EXPECT_TRUE(std::filesystem::exists(log_file));
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(FaultNoDescriptor, AfterTheListIsOpenItFindsNeitherItsConfigurationNorItsUser) {
    std::filesystem::path const other_home = directory.Path() / "other";
    setenv("HOME", other_home.c_str(), 1);
    ASSERT_EQ(mkfifo(list_file.c_str(), 0666), 0);
    StartWith({"test", list_file});
    // Opened as soon as the launcher has opened its end.
    int const list = open(list_file.c_str(), O_WRONLY | O_CLOEXEC);
    LimitDescriptors(launcher->Pid(), 0);
    std::string const text = ListText({Item("a")});
    ASSERT_EQ(write(list, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(list);
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_THAT(Starts(), IsEmpty());
    // No product name, no level DEBUG; its lines are lost, and the program, which cannot
    // be loaded, is started again and again.
    std::filesystem::path const logs = other_home / "Library/Logs";
    EXPECT_TRUE(std::filesystem::is_empty(logs / "voplog"));
    LimitDescriptors(launcher->Pid(), 1024);
    pid_t const program = WaitForStarts(1)[0].pid;
    EXPECT_EQ(Stop(), "exit 1");
    std::string const log = ReadFile(logs / "voplog/launcher.log");
    EXPECT_THAT(log, EndsWith(Killed("a", program, 9) + "\n"));
    EXPECT_THAT(Lines(log), testing::Each(testing::HasSubstr(" ERROR ")));
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}
#endif

TEST_F(FaultNoDescriptor, AtTheStartItSilentlyEndsWithZero) {
    WriteFile(list_file, ListText({Item("a")}));
    EXPECT_EQ(RunMainWithoutDescriptors({"launcher", "test", list_file}), "exit 0");
    // The event about the arguments needs one too.
    EXPECT_EQ(RunMainWithoutDescriptors({"launcher"}), "exit 0");
    EXPECT_THAT(Starts(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

// The log of a launcher that runs, and whose program ends at once, over and over.
class FaultNoLog : public LauncherTest {
  protected:
    // Waits until the program was started three more times.
    void WaitForThreeStarts() const { WaitForStarts(Starts().size() + 3); }

    // Runs the launcher with a log that works, fails after `break_log`, and works again
    // after `mend_log`.
    template <typename Break, typename Mend>
    void ExpectThatItRunsOnWithoutItsLog(Break break_log, Mend mend_log) {
        // The long name fills disks.
        std::string const name(2000, 'n');
        Start(ListText({RestlessItem(name)}));
        EXPECT_TRUE(WaitFor([this] { return CountInLog("status = 0") >= 2; }));
        break_log();
        // A few lines may still come: of a file that was open, or if there is room.
        EXPECT_TRUE(WaitFor([this] {
            std::string const before = ReadFile(log_file);
            WaitForThreeStarts();
            return ReadFile(log_file) == before;
        }));
        mend_log();
        std::size_t const lines = Log().size();
        EXPECT_TRUE(WaitFor([this, lines] { return Log().size() >= lines + 4; }));
        LetRest();
        EXPECT_EQ(Stop(), "exit 1");
        EXPECT_THAT(RunningPrograms(), IsEmpty());
        EXPECT_THAT(Log().back(), testing::HasSubstr(" is killed. ret = "));
        EXPECT_THAT(system_log.Received(), IsEmpty());
    }

    // Expects that the launcher, which cannot make its log, sends an event and runs on.
    void ExpectAnEventAndProgramsWithoutALog() {
        Start(ListText({RestlessItem("a"), Item("b", {"--hold", "b"})}));
        WaitForStarts(3, "a");
        pid_t const program = WaitForStarts(1, "b")[0].pid;
        LetRest();
        EXPECT_EQ(Stop(), "exit 1");
        EXPECT_TRUE(IsGone(program));
        EXPECT_THAT(system_log.Received(),
                    ElementsAre(EndsWith(
                        ": Tamlin Launcher for test : Failed to initialize logger")));
        EXPECT_FALSE(std::filesystem::exists(log_file));
    }

    std::filesystem::path const log_directory = log_file.parent_path();
    std::filesystem::path const elsewhere = directory.Path() / "elsewhere";
};

TEST_F(FaultNoLog, ForLackOfDescriptors) {
    ExpectThatItRunsOnWithoutItsLog([this] { LimitDescriptors(launcher->Pid(), 3); },
                                    [this] { LimitDescriptors(launcher->Pid(), 1024); });
}

TEST_F(FaultNoLog, OnAFullDisk) {
    Disk const disk(log_directory, "size=64k");
    std::filesystem::path const ballast = disk.Path() / "ballast";
    WriteFile(ballast, std::string(16384, 'b'));
    ExpectThatItRunsOnWithoutItsLog(
        [&] {
            EXPECT_TRUE(WaitFor([&] {
                struct statvfs space = {};
                return statvfs(disk.Path().c_str(), &space) == 0 && space.f_bavail == 0;
            }));
        },
        [&] { std::filesystem::remove(ballast); });
}

TEST_F(FaultNoLog, OnADiskThatBecomesReadOnly) {
    Disk const disk(log_directory, "");
    ExpectThatItRunsOnWithoutItsLog(
        [&disk] {
            // As long as a line is being written the system refuses.
            EXPECT_TRUE(WaitFor([&disk] { return disk.SetReadOnly(true); }));
        },
        [&disk] { EXPECT_TRUE(disk.SetReadOnly(false)); });
}

TEST_F(FaultNoLog, WhenItsDirectoryIsRemoved) {
    ExpectThatItRunsOnWithoutItsLog(
        [this] {
            std::filesystem::rename(log_directory, elsewhere);
            std::filesystem::remove_all(elsewhere);
        },
        [this] {
            EXPECT_FALSE(std::filesystem::exists(log_directory));
            std::filesystem::create_directory(log_directory);
        });
}

TEST_F(FaultNoLog, WhenAFileTakesThePlaceOfItsDirectory) {
    ExpectThatItRunsOnWithoutItsLog(
        [this] {
            std::filesystem::rename(log_directory, elsewhere);
            WriteFile(log_directory, "a file");
        },
        [this] {
            EXPECT_EQ(ReadFile(log_directory), "a file");
            std::filesystem::remove(log_directory);
            std::filesystem::rename(elsewhere, log_directory);
        });
}

TEST_F(FaultNoLog, FromTheStartOnADiskThatIsReadOnly) {
    Disk const disk(home / "Library/Logs", "");
    ASSERT_TRUE(disk.SetReadOnly(true));
    ExpectAnEventAndProgramsWithoutALog();
}

TEST_F(FaultNoLog, FromTheStartOnADiskThatHasNoRoomForADirectory) {
    Disk const disk(home / "Library/Logs", "nr_inodes=1");
    ExpectAnEventAndProgramsWithoutALog();
}

TEST_F(FaultNoLog, FromTheStartOnADiskThatHasNoRoomForALine) {
    Disk const disk(home / "Library/Logs", "nr_inodes=3");
    Start(ListText({RestlessItem("a"), Item("b", {"--hold", "b"})}));
    WaitForStarts(3, "a");
    LetRest();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(RunningPrograms(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(log_directory));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

using FaultNoHome = LimitedLauncherTest;

TEST_F(FaultNoHome, WithoutAPasswdEntryAndAHomeItMayNotLogWhereTheSystemDoesAndRunsOn) {
    unsetenv("HOME");
    StartLimited(ListText({RestlessItem("a"), Item("b", {"--hold", "b"})}), 20);
    WaitForStarts(3, "a");
    WaitForStarts(1, "b");
    LetRest();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(LinksAndPrograms(), IsEmpty());
    EXPECT_THAT(system_log.Received(),
                ElementsAre(EndsWith(
                    ": Tamlin Launcher for test : Failed to initialize logger")));
    EXPECT_FALSE(std::filesystem::exists(log_file));
}

}  // namespace
