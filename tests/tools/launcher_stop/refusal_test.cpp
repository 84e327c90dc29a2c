// launcher-stop where the system refuses it something, and where it refuses itself.

#include <cerrno>
#include <csignal>

#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/linux/refuse_call.h"
#include "tests/support/run_program.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

using LauncherStopRefusal = LauncherTest;

TEST_F(LauncherStopRefusal, SaysWhatItMayNotSignal) {
    auto const stop = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), LAUNCHER_STOP);
        return RunProgram(arguments, "",
                          [] { RefuseCall(SYS_pidfd_send_signal, EPERM); });
    };
    Start(ListText({Item("a")}));
    std::string const program = std::to_string(WaitForStarts(1)[0].pid);
    ASSERT_TRUE(WaitUntilMainWaits());
    ProgramRun run = stop({});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(run.output, "launcher " + std::to_string(launcher->Pid()) +
                              " (test) could not be ended\nsomething is left\n");

    launcher->Signal(SIGKILL);
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    run = stop({"--leftovers", list_file});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_THAT(run.output, StartsWith("still there: " + program + ": "));
    EXPECT_THAT(run.output, EndsWith(" (not permitted)\nsomething is left\n"));
    EXPECT_EQ(RunProgram({LAUNCHER_STOP, "--leftovers", list_file}).end, "exit 0");
}

// In a container, the launcher may be the first process.
TEST_F(LauncherStopRefusal, DoesNotStopTheFirstProcess) {
    WriteFile(list_file, ListText({Item("a")}));
    std::string const answer = directory.Path() / "answer";
    std::string const script =
        "(while '" LAUNCHER_STOP "' >'" + answer +
        ".part' 2>&1; code=$?; [ $code = 3 ]; do :; done; echo code $code >>'" + answer +
        ".part'; mv '" + answer + ".part' '" + answer + "') & exec '" +
        launcher_program.string() + "' test '" + list_file.string() + "'";
    Process const container({"/usr/bin/unshare", "--pid", "--fork", "--kill-child=KILL",
                             "--mount", "--mount-proc", "/bin/sh", "-c", script});
    ASSERT_TRUE(WaitFor([&answer] { return std::filesystem::exists(answer); }));
    EXPECT_EQ(
        ReadFile(answer),
        "launcher-stop: the launcher is the first process, which adopts the orphans "
        "of all others\ncode 2\n");
}

}  // namespace
