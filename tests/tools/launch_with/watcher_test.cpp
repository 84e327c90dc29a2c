// Who dies when, and that nobody is left.

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "harness/launch_list.h"
#include "tests/support/launcher_fixture.h"
#include "tests/tools/launch_with/fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

// Says who it is, and notes each SIGTERM.
char const* const kNotesSigterm =
    "trap 'echo TERM >>signals; exit 0' TERM; echo $$ >pid; while :; do sleep 0.01; done";

// Ignores SIGTERM, and so do its children, of which one leaves the session.
char const* const kDeaf =
    "trap '' TERM; setsid sleep 1000 & echo $$ >pid; exec sleep 1000";

// Starts launch-with from a process between it and this one, as a launcher does.
Process StartBelowAnother(std::vector<std::string> const& line) {
    return Process([line] {
        Process const launched(line);
        WaitFor([] { return false; });
        return 0;
    });
}

pid_t WatcherOf(pid_t program) {
    return ParentOf(program);
}

// Sends all signals that a process can block. Signals 32 and 33, which the C library does
// not block, are among them.
void SendAllSignals(pid_t process) {
    for (int signal = 1; signal < NSIG; ++signal) {
        if (signal != SIGKILL && signal != SIGSTOP) {
            EXPECT_EQ(kill(process, signal), 0) << signal;
        }
    }
}

TEST_F(LaunchWith, AfterItsEndTheProgramGetsTheStopSignalOnce) {
    for (std::string const stop : {"TERM", "INT"}) {
        {
            Process const launched(CommandLine(
                {"--stop-signal", stop},
                "for it in TERM INT; do trap \"echo $it >>signals\" $it; done; echo $$ "
                ">pid; "
                "until [ -s signals ]; do sleep 0.01; done; sleep 0.2; exit 0"));
            WaitForPid("pid");
        }
        EXPECT_TRUE(NothingIsLeft());
        EXPECT_EQ(Content("signals"), stop + "\n");
        std::filesystem::remove(File("signals"));
        std::filesystem::remove(File("pid"));
    }
}

TEST_F(LaunchWith, AnySignalToItEndsTheProgram) {
    for (int const signal : {SIGTERM, SIGHUP, SIGINT, SIGUSR1}) {
        Process launched(CommandLine({}, kNotesSigterm));
        WaitForPid("pid");
        launched.Signal(signal);
        EXPECT_EQ(launched.WaitForEnd(), "signal " + std::to_string(signal));
        EXPECT_TRUE(NothingIsLeft());
        std::filesystem::remove(File("pid"));
    }
    EXPECT_EQ(Content("signals"), "TERM\nTERM\nTERM\nTERM\n");
}

TEST_F(LaunchWith, TheStopSignalReachesWhatHasLeftTheProgramsGroup) {
    {
        Process const launched(
            CommandLine({"--grace", "1000"},
                        "setsid sh -c \"" + std::string(kNotesSigterm) +
                            "\" & trap '' TERM; wait; until [ -s signals ]; do sleep "
                            "0.01; done"));
        WaitForPid("pid");
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_EQ(Content("signals"), "TERM\n");
}

TEST_F(LaunchWith, AfterTheGraceWhatIsDeafIsKilled) {
    auto start = Clock::now();
    {
        Process const launched(CommandLine({"--grace", "0.3"}, kDeaf));
        WaitForPid("pid");
        start = Clock::now();
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(LaunchWith, EndsTheProgramWhenTheLauncherIsKilled) {
    {
        Process const launcher = StartBelowAnother(CommandLine({}, kNotesSigterm));
        WaitForPid("pid");
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_EQ(Content("signals"), "TERM\n");
}

TEST_F(LaunchWith, StartsNothingIfTheLauncherHasAlreadyEnded) {
    // The launcher's parent leads the session, and stays.
    Process const shell([this] {
        if (fork() == 0) {
            pid_t const launcher = getpid();
            if (fork() != 0) {
                _exit(0);
            }
            WaitFor([launcher] { return getppid() != launcher; });
            WriteFile(File("pid"), std::to_string(getpid()) + "\n");
            std::vector<std::string> line = CommandLine({}, "echo >started");
            std::vector<char*> const arguments = Pointers(line);
            return execv(arguments[0], arguments.data());
        }
        return pause();
    });
    pid_t const launched = WaitForPid("pid");
    EXPECT_TRUE(WaitFor([launched] { return IsGone(launched); }));
    EXPECT_FALSE(std::filesystem::exists(File("started")));
}

TEST_F(LaunchWith, EndsTheProgramWhenTheWatcherIsKilled) {
    Process launched(CommandLine({}, kDeaf));
    pid_t const program = WaitForPid("pid");
    kill(WatcherOf(program), SIGKILL);
    EXPECT_EQ(launched.WaitForEnd(), "signal 9");
    EXPECT_TRUE(NothingIsLeft());
}

TEST_F(LaunchWith, TheProgramEndsWhenBothAreKilled) {
    Process launched(CommandLine({}, "trap '' TERM; echo $$ >pid; exec sleep 1000"));
    pid_t const program = WaitForPid("pid");
    pid_t const watcher = WatcherOf(program);
    kill(launched.Pid(), SIGSTOP);
    kill(watcher, SIGKILL);
    launched.Signal(SIGKILL);
    EXPECT_TRUE(NothingIsLeft());
}

TEST_F(LaunchWith, TheWatcherHearsNoOtherSignal) {
    Process launched(CommandLine({}, kNotesSigterm));
    pid_t const program = WaitForPid("pid");
    SendAllSignals(WatcherOf(program));
    kill(program, SIGUSR1);
    EXPECT_EQ(launched.WaitForEnd(), "signal " + std::to_string(SIGUSR1));
    EXPECT_EQ(Content("signals"), "");
}

TEST_F(LaunchWith, NoSignalEndsTheWatcher) {
    {
        Process const launched(CommandLine({}, kNotesSigterm));
        SendAllSignals(WatcherOf(WaitForPid("pid")));
    }
    EXPECT_TRUE(NothingIsLeft());
    // Without its watcher the program would have ended by SIGKILL.
    EXPECT_EQ(Content("signals"), "TERM\n");
}

TEST_F(LaunchWith, AStoppedProgramHearsTheStopSignal) {
    auto const start = Clock::now();
    {
        Process const launched(CommandLine({"--grace", "1000"}, kNotesSigterm));
        kill(WaitForPid("pid"), SIGSTOP);
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_EQ(Content("signals"), "TERM\n");
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(1000));
}

TEST_F(LaunchWith, ReapsWhatTheProgramLeavesWhileItRuns) {
    Process const launched(
        CommandLine({}, "(true & true &); echo $$ >pid; exec sleep 1000"));
    pid_t const watcher = WatcherOf(WaitForPid("pid"));
    EXPECT_TRUE(WaitFor([watcher] {
        std::vector<pid_t> const all = AllProcesses();
        return std::count_if(all.begin(), all.end(), [watcher](pid_t pid) {
                   return ParentOf(pid) == watcher;
               }) == 1;
    }));
}

TEST_F(LaunchWith, TheNextOneWaitsAsLongAsTheGraceOfTheLast) {
    std::vector<std::string> const line = CommandLine(
        {"--output", File("output"), "--grace", "1000"},
        "if [ -e pid ]; then echo 2 >second; exit 0; fi; trap 'until [ -e go ]; do sleep "
        "0.01; done; echo 1 >first; exit 0' TERM; echo $$ >pid; while :; do sleep 0.01; "
        "done");
    {
        Process const first(line);
        WaitForPid("pid");
    }
    Process second(line);
    // The shell of the first one may have written something too.
    ASSERT_TRUE(WaitFor([this] {
        return Content("output").find(
                   "launch-with: waits until the one before has ended\n") !=
               std::string::npos;
    }));
    EXPECT_FALSE(std::filesystem::exists(File("second")));
    // Others do not wait.
    EXPECT_EQ(Run({}, "exit 0"), "exit 0");
    WriteFile(File("go"), "");
    EXPECT_EQ(second.WaitForEnd(), "exit 0");
    EXPECT_EQ(Content("first"), "1\n");
    EXPECT_EQ(Content("second"), "2\n");
}

TEST_F(LaunchWith, ALockHasTheNameThatIsGiven) {
    Process const first(CommandLine({"--lock", "one"}, "echo $$ >pid; exec sleep 1000"));
    WaitForPid("pid");
    Process const second(
        CommandLine({"--lock", "one", "--output", File("output")}, "echo >second"));
    EXPECT_TRUE(
        WaitForContent("output", "launch-with: waits until the one before has ended\n"));
    EXPECT_EQ(Run({"--lock", "two"}, "echo >third"), "exit 0");
    EXPECT_FALSE(std::filesystem::exists(File("second")));
}

class LaunchWithUnderTheLauncher : public LauncherTest {};

TEST_F(LaunchWithUnderTheLauncher, IsRestartedPacedAndStopped) {
    std::string const file = directory.Path() / "signals";
    Start(ListText({ItemText("graceful", LAUNCH_WITH,
                             {"--", "/bin/sh", "-c",
                              "trap 'echo TERM >" + file + "; exit 0' TERM; echo >" +
                                  file + "; while :; do sleep 0.01; done"}),
                    ItemText("absent", LAUNCH_WITH, {"--", "/nothing/here"})}));
    ASSERT_TRUE(WaitUntilMainWaits());
    ASSERT_TRUE(WaitFor([&] { return ReadFile(file) == "\n"; }));
    ASSERT_TRUE(WaitFor([&] { return CountInLog("absent ") >= 2; }));
    EXPECT_GE(CountInLog("status = 32512"), 1U);
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(WaitFor([&] { return ReadFile(file) == "TERM\n"; }));
}

}  // namespace
