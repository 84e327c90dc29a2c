// launch-with and launcher-stop without memory.

#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/stop/fault_fixture.h"
#include "tests/support/run_program.h"

namespace {

// Gives a process no more memory than it has.
void FreezeMemory(pid_t process) {
    auto const size = static_cast<rlim_t>(ProcNumber(process, "status", "VmSize")) * 1024;
    rlimit const limit = {size, RLIM_INFINITY};
    prlimit(process, RLIMIT_AS, &limit, nullptr);
}

TEST_F(StopFault, WithoutMemoryLaunchWithEndsAllThatItsProgramStarted) {
    for (bool const is_watcher_killed : {false, true}) {
        std::filesystem::remove(Reports());
        Process const partner(FamilyCommand("0.1"));
        ASSERT_TRUE(AwaitFamily());
        pid_t const watcher = ParentOf(std::stoi(ReadFile(Reports())));
        FreezeMemory(partner.Pid());
        FreezeMemory(watcher);
        kill(is_watcher_killed ? watcher : partner.Pid(), SIGKILL);
        EXPECT_TRUE(WaitFor([] { return LonePrograms().empty(); }))
            << "the watcher is killed: " << is_watcher_killed;
    }
}

TEST_F(StopFault, WithoutMemoryTheStopCanBeRepeated) {
    Process const bystander({TEST_PROGRAM, "bystander"});
    int stops = 0;
    for (rlim_t size = 2 << 20; size < 12 << 20; size += 512 << 10) {
        Start(ListText({Item("a"), Item("b")}));
        ASSERT_TRUE(WaitUntilMainWaits());
        std::string end = RunProgram({LAUNCHER_STOP, list_file}, "", [size] {
                              rlimit const limit = {size, size};
                              rlimit const none = {0, 0};
                              setrlimit(RLIMIT_CORE, &none);
                              setrlimit(RLIMIT_AS, &limit);
                          }).end;
        stops += end == "exit 0" ? 1 : 0;
        if (end != "exit 0") {
            end = RunProgram({LAUNCHER_STOP, list_file}).end;
        }
        if (end == "exit 1") {
            end = RunProgram({LAUNCHER_STOP, "--leftovers", list_file}).end;
        }
        EXPECT_TRUE(end == "exit 0" || end == "exit 3") << end << " with " << size;
        EXPECT_TRUE(launcher->HasEnded());
        EXPECT_EQ(RunningPrograms().size(), 1U) << "only the bystander";
    }
    EXPECT_GT(stops, 0) << "no limit was enough";
}

}  // namespace
