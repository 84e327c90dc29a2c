// launch-with and launcher-stop on a system that has no more processes, memory or disk,
// and whose clocks jump.

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/stop/families.h"
#include "tests/stop/fault_fixture.h"
#include "tests/support/disk.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/limited_user.h"
#include "tests/support/run_program.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr char kNone[] = R"({"name": "none", "program": "/nonexistent"})";

TEST_F(StopFault, OnAFullDiskNothingIsLeft) {
    Disk const disk(log_file.parent_path(), "size=64k");
    while (std::ofstream(disk.Path() / "filler", std::ios::app)
           << std::string(4096, 'x') << std::flush) {
    }
    std::string const lost = disk.Path() / "lost";
    Start(ListText({Item("a"), RestlessItem("b"),
                    ItemText("c", LAUNCH_WITH,
                             {"--output", lost, "--", "/bin/sh", "-c",
                              "echo lost; exec " TEST_PROGRAM " --hold c"})}));
    ASSERT_TRUE(WaitFor([this] { return !Starts("c").empty(); }));
    ProgramRun const stop =
        RunProgram({"/bin/sh", "-c", "exec " LAUNCHER_STOP " >/dev/full"});
    EXPECT_EQ(stop.end, "exit 0");
    EXPECT_EQ(stop.errors, "");
    EXPECT_THAT(RunningPrograms(), testing::IsEmpty());
    EXPECT_TRUE(launcher->HasEnded());
    EXPECT_EQ(ReadFile(lost), "");
}

using StopFaultNoTask = LimitedLauncherTest;

TEST_F(StopFaultNoTask, AChainAtTheProcessLimitIsStoppedByTheSameUser) {
    constexpr unsigned long kLimit = 30;
    std::filesystem::path const stop_copy = directory.Path() / "launcher-stop";
    std::filesystem::copy(LAUNCHER_STOP, stop_copy);
    std::filesystem::path const go = directory.Path() / "go";
    // It is there before the chain, as a shell is: later the user could not fork it.
    Process stop({stop_copy, list_file}, [&go] {
        BecomeLimitedUser(kLimit + SANITIZER_THREADS);
        while (access(go.c_str(), F_OK) != 0) {
            usleep(1000);
        }
    });
    StartLimited(ListText({Item("steady"), kNone}), kLimit);
    ASSERT_TRUE(
        WaitFor([this] { return CountInLog("[LAUNCHER  ] Failed to fork none") >= 3; }));
    EXPECT_GE(LinksAndPrograms().size(), kLimit - 6);
    WriteFile(go, "");
    EXPECT_EQ(stop.WaitForEnd(), "exit 0");
    EXPECT_TRUE(launcher->HasEnded());
    EXPECT_THAT(LinksAndPrograms(), testing::IsEmpty());
}

TEST_F(StopFault, PaceAndGraceDoNotDependOnTheTimeOfDay) {
    auto const begin = steady_clock::now();
    Process paced({LAUNCH_WITH_JUMPING, "--at-most-every", "0.3", "--", LONE_PROGRAM});
    EXPECT_EQ(paced.WaitForEnd(), "exit 2");
    EXPECT_GE(steady_clock::now() - begin, milliseconds(300));

    std::vector<std::string> command = FamilyCommand("0.3");
    command[0] = LAUNCH_WITH_JUMPING;
    Process const deaf(command);
    ASSERT_TRUE(AwaitFamily());
    deaf.Signal(SIGTERM);
    std::this_thread::sleep_for(milliseconds(150));
    EXPECT_EQ(LonePrograms().size(), 2U) << "killed before the grace was over";
    EXPECT_TRUE(WaitFor([] { return LonePrograms().empty(); }));
}

// A launcher that forks late.
class StopFaultLateForks : public StopFault {
  protected:
    StopFaultLateForks() {
        PutIntoTheBundle(LATE_LAUNCHER);
        WriteFile(list_file, ListText({Item("a"), Item("b")}));
    }
};

// Before that, SIGTERM would end the launcher's process group.
TEST_F(StopFaultLateForks, AStopWaitsUntilTheLauncherKnowsItsChildren) {
    auto const shell = StartFromShell({launcher_program, "test", list_file}, "stopped");
    ASSERT_TRUE(WaitFor([this] { return Starts().size() == 2; }));
    EXPECT_EQ(RunProgram({LAUNCHER_STOP, list_file}).end, "exit 0");
    EXPECT_EQ(SessionMembers(shell->Pid()).size(), 2U) << "shell or neighbour is gone";
    kill(-shell->Pid(), SIGKILL);
}

// After it, SIGTERM would end every process of this namespace.
TEST_F(StopFaultLateForks, AForkThatFailsDuringTheStopHarmsNobody) {
    setenv("FAILING_FORK", "2", 1);
    StartWith({"test", list_file});
    ASSERT_TRUE(WaitFor([this] { return ThreadsOf(launcher->Pid()).size() == 3; }));
    ProgramRun const run = RunProgram({LAUNCHER_STOP, list_file});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_THAT(run.output, testing::HasSubstr("was ended by SIGKILL: it was not ready"));
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    EXPECT_THAT(RunningPrograms(), testing::IsEmpty());
}

// With another list than the launcher's, an item without a thread is not missed.
class StopFaultAnotherList : public StopFaultLateForks {
  protected:
    StopFaultAnotherList() {
        setenv("FAILING_FORK", "2", 1);
        StartWith({"test", list_file});
    }

    void StopWithAnotherList() {
        WriteFile(list_file, ListText({Item("c")}));
        std::filesystem::last_write_time(
            list_file,
            std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
        ProgramRun const run = RunProgram({LAUNCHER_STOP, list_file});
        EXPECT_EQ(run.end, "exit 0");
        EXPECT_THAT(run.output,
                    testing::HasSubstr("was ended by SIGKILL: it was not ready"));
        EXPECT_THAT(RunningPrograms(), testing::IsEmpty());
    }
};

TEST_F(StopFaultAnotherList, AForkThatHasFailedHarmsNobody) {
    ASSERT_TRUE(WaitFor([this] { return CountInLog("Failed to fork ") == 1; }));
    StopWithAnotherList();
}

TEST_F(StopFaultAnotherList, AForkThatFailsDuringTheStopHarmsNobody) {
    ASSERT_TRUE(WaitFor([this] { return ThreadsOf(launcher->Pid()).size() == 3; }));
    ASSERT_EQ(CountInLog("Failed to fork "), 0);
    StopWithAnotherList();
}

// In a time namespace the clocks are others, and so are the starts of all processes.
TEST_F(StopFault, AStopWorksWithClocksThatDifferFromTheLaunchers) {
    if (RunProgram({"/usr/bin/unshare", "--time", "/bin/true"}).end != "exit 0") {
        GTEST_SKIP() << "no time namespaces here";
    }
    for (char const* const offset : {"1000000", "-100"}) {
        Process const bystander({TEST_PROGRAM, "bystander"});
        Start(ListText({RestlessItem("a"), Item("b"), Item("c")}));
        ASSERT_TRUE(WaitUntilMainWaits());
        ProgramRun const stop =
            RunProgram({"/usr/bin/unshare", "--time", "--fork", "--boottime", offset,
                        "--monotonic", offset, LAUNCHER_STOP, list_file});
        EXPECT_EQ(stop.end, "exit 0") << stop.output << stop.errors;
        EXPECT_TRUE(launcher->HasEnded());
        EXPECT_EQ(RunningPrograms().size(), 1U) << "only the bystander";
    }
}

}  // namespace
