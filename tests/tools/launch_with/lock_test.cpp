// The lock of launch-with, and when the pace begins with it.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include "tests/support/linux/refuse_call.h"
#include "tests/tools/launch_with/fixture.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

TEST_F(LaunchWith, WithoutALockItFailsAtItsPace) {
    auto const start = Clock::now();
    EXPECT_EQ(Run({"--at-most-every", "0.4", "--output", File("output")}, "echo started",
                  [] { RefuseCall(SYS_socket, EACCES); }),
              "exit 125");
    EXPECT_GE(Clock::now() - start, milliseconds(400));
    EXPECT_EQ(Content("output"),
              "launch-with: cannot hold the program's name: Permission denied\n");
}

TEST_F(LaunchWith, TheTimeThatItWaitsForItsLockIsNotPartOfThePace) {
    auto first = std::make_unique<Process>(
        CommandLine({"--lock", "one"}, "echo $$ >pid; exec sleep 1000"));
    WaitForPid("pid");
    Process second(CommandLine(
        {"--lock", "one", "--at-most-every", "0.4", "--output", File("output")},
        "exit 3"));
    ASSERT_TRUE(
        WaitForContent("output", "launch-with: waits until the one before has ended\n"));
    // The time that a pace from the start of launch-with would count.
    std::this_thread::sleep_for(milliseconds(400));
    auto const start = Clock::now();
    first.reset();
    EXPECT_EQ(second.WaitForEnd(), "exit 3");
    EXPECT_GE(Clock::now() - start, milliseconds(400));
}

// SIGKILL takes as long as the kernel needs for it, with a large program for example. A
// debugger can stop a process in its end.
TEST_F(LaunchWith, TheNextOneWaitsForAProgramThatIsStillInItsEnd) {
    Process first(CommandLine({"--lock", "one"}, "echo $$ >pid; exec sleep 1000"));
    pid_t const program = WaitForPid("pid");
    ASSERT_EQ(ptrace(PTRACE_SEIZE, program, nullptr, PTRACE_O_TRACEEXIT), 0);
    kill(ParentOf(program), SIGKILL);
    first.Signal(SIGKILL);
    ASSERT_TRUE(WaitFor([program] { return StateOf(program) == 't'; }));
    EXPECT_EQ(first.WaitForEnd(), "signal 9");

    Process second(
        CommandLine({"--lock", "one", "--output", File("output")}, "echo >second"));
    EXPECT_TRUE(
        WaitForContent("output", "launch-with: waits until the one before has ended\n"));
    EXPECT_FALSE(std::filesystem::exists(File("second")));
    ptrace(PTRACE_DETACH, program, nullptr, nullptr);
    EXPECT_EQ(second.WaitForEnd(), "exit 0");
    EXPECT_TRUE(std::filesystem::exists(File("second")));
}

// Returns whether there is a semaphore in this IPC namespace.
bool HasSemaphore() {
    return Lines(ReadFile("/proc/sysvipc/sem")).size() > 1;
}

TEST_F(LaunchWith, KeepsASemaphoreWhileTheProgramRuns) {
    ASSERT_EQ(unshare(CLONE_NEWIPC), 0);
    for (bool const is_watcher_killed : {false, true}) {
        Process launched(CommandLine({}, "echo $$ >pid; exec sleep 1000"));
        pid_t const program = WaitForPid("pid");
        EXPECT_TRUE(HasSemaphore());
        kill(is_watcher_killed ? ParentOf(program) : program, SIGKILL);
        EXPECT_EQ(launched.WaitForEnd(), "signal 9");
        EXPECT_FALSE(HasSemaphore());
        std::filesystem::remove(File("pid"));
    }
}

TEST_F(LaunchWith, RunsItsProgramWithoutASemaphore) {
    EXPECT_EQ(Run({}, "exit 3", [] { RefuseCall(SYS_semget, ENOSYS); }), "exit 3");
}

}  // namespace
