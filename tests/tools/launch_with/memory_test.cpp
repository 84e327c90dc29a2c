// How much memory launch-with takes.

#include <string>

#include "tests/tools/launch_with/fixture.h"

namespace {

// An empty program that is linked statically has two pages of heap: the C library's own
// thread-local variables.
TEST_F(LaunchWith, AllocatesNoMemoryOfItsOwn) {
    Process const launched(
        CommandLine({"--output", File("output"), "--environment", "A=b"},
                    "echo 1; echo $$ >pid; exec sleep 1000"));
    pid_t const watcher = ParentOf(WaitForPid("pid"));
    for (pid_t const pid : {launched.Pid(), watcher}) {
        std::string const maps = ReadFile("/proc/" + std::to_string(pid) + "/smaps");
        std::size_t const heap = maps.find("[heap]");
        std::size_t const resident = maps.find("Rss:", heap);
        ASSERT_NE(resident, std::string::npos);
        EXPECT_LE(std::atoi(maps.c_str() + resident + 4), 8);
    }
}

}  // namespace
