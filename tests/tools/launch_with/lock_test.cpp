// When the pace of launch-with begins, with the lock and without it.

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
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

}  // namespace
