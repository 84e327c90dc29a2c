#include "tools/running/launcher_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "tests/tools/running/processes.h"

namespace running {
namespace {

// 2026-11-22T12:00:00Z in milliseconds since 1970.
constexpr long long kNoon = 1'795'348'800'000;
constexpr long long kHour = 3'600'000;

// Returns launcher 100 of this user, forked at that time by the clock of now.
Launcher LauncherOf(long long start_time) {
    Launcher launcher = MakeLauncher();
    launcher.process.user = geteuid();
    launcher.process.start_time = start_time;
    return launcher;
}

class LauncherLogTest : public testing::Test {
  protected:
    // Writes what process `id` logs at noon.
    void WriteLine(std::string const& id, std::string const& message) const {
        home.Write(
            "Library/Logs/Tamlin/voplog/launcher.log",
            "2026-11-22T12:00:00.000Z ERROR " + id + " [LAUNCHER  ] " + message + "\n");
    }

    TempDirectory const home;
    PasswdEntry const user{home.Path()};
};

TEST_F(LauncherLogTest, HasAFailedForkFromBeforeTheClockWasSetForward) {
    WriteLine("100", "Failed to fork a");
    EXPECT_TRUE(LauncherLog(LauncherOf(kNoon)).HasFailedFork());
    EXPECT_TRUE(LauncherLog(LauncherOf(kNoon + kHour)).HasFailedFork());
    WriteLine("101", "Failed to fork a");
    EXPECT_FALSE(LauncherLog(LauncherOf(kNoon)).HasFailedFork());
}

TEST_F(LauncherLogTest, SkipsEndsThatAreOlderThanTheLauncher) {
    WriteLine("100", "a 7 is killed. ret = 7, status = 0");
    EXPECT_NE(LauncherLog(LauncherOf(kNoon)).Find("a"), nullptr);
    EXPECT_EQ(LauncherLog(LauncherOf(kNoon + kHour)).Find("a"), nullptr);
}

}  // namespace
}  // namespace running
