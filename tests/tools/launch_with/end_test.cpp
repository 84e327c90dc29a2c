// How launch-with ends, and when.

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>

#include "tests/support/run_program.h"
#include "tests/tools/launch_with/fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

TEST_F(LaunchWith, EndsAsItsProgramEnded) {
    EXPECT_EQ(Run({}, "exit 0"), "exit 0");
    EXPECT_EQ(Run({}, "exit 3"), "exit 3");
    EXPECT_EQ(Run({}, "exit 255"), "exit 255");
    EXPECT_EQ(Run({}, "kill -TERM $$"), "signal 15");
    EXPECT_EQ(Run({}, "kill -KILL $$"), "signal 9");
    EXPECT_EQ(Run({}, "kill -HUP $$",
                  [] {
                      std::signal(SIGHUP, SIG_IGN);
                      sigset_t all;
                      sigfillset(&all);
                      sigprocmask(SIG_BLOCK, &all, nullptr);
                  }),
              "signal 1");
}

TEST_F(LaunchWith, DumpsNoSecondCore) {
    std::vector<std::string> line = CommandLine({}, "kill -SEGV $$");
    std::vector<char*> const arguments = Pointers(line);
    pid_t const child = fork();
    if (child == 0) {
        rlimit const all = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_CORE, &all);
        execv(arguments[0], arguments.data());
        _exit(99);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, SIGSEGV);
}

TEST_F(LaunchWith, EndsWithTheReasonIfTheProgramCannotBeExecuted) {
    std::string const output = File("output");
    auto const run = [&output](std::string const& program) {
        return Process({LAUNCH_WITH, "--output", output, "--", program}).WaitForEnd();
    };
    EXPECT_EQ(run("/nothing/here"), "exit 127");
    EXPECT_EQ(run("/etc/passwd"), "exit 126");
    EXPECT_EQ(run("true"), "exit 127");
    EXPECT_EQ(Content("output"),
              "launch-with: /nothing/here: No such file or directory\n"
              "launch-with: /etc/passwd: Permission denied\n"
              "launch-with: true: No such file or directory\n");
}

TEST_F(LaunchWith, EndsWithTheReasonIfItFailsItself) {
    EXPECT_EQ(Run({"--output", File("output"), "--directory", "/nothing"}, ""),
              "exit 125");
    EXPECT_EQ(Content("output"),
              "launch-with: --directory /nothing: No such file or directory\n");
}

TEST_F(LaunchWith, SaysWhatIsWrongWithItsCommandLine) {
    std::string const complaint =
        "launch-with: --grace=x is not a number of seconds; "
        "--help tells more\n";
    ProgramRun const run =
        RunProgram({LAUNCH_WITH, "--output", File("output"), "--grace=x", "/bin/true"});
    EXPECT_EQ(run.end, "exit 125");
    EXPECT_EQ(run.errors, complaint);
    // The launcher has closed the standard error.
    EXPECT_EQ(Content("output"), complaint);
}

TEST_F(LaunchWith, PrintsHelpAndVersion) {
    ProgramRun const help = RunProgram({LAUNCH_WITH, "--help"});
    EXPECT_EQ(help.end, "exit 0");
    EXPECT_THAT(help.output, testing::StartsWith("launch-with [OPTION...] -- PROGRAM"));
    EXPECT_EQ(RunProgram({LAUNCH_WITH, "--version"}).output, "launch-with " VERSION "\n");
    EXPECT_EQ(RunProgram({LAUNCH_WITH, "--help"}, "", [] { close(1); }).end, "exit 125");
}

TEST_F(LaunchWith, PassesAnEarlyEndOnWhenItsTimeIsOver) {
    auto const start = Clock::now();
    EXPECT_EQ(Run({"--at-most-every", "0.4"}, "exit 3"), "exit 3");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(400));
}

TEST_F(LaunchWith, CountsThatTimeFromTheStart) {
    auto const start = Clock::now();
    EXPECT_EQ(Run({"--at-most-every", "2"}, "exec sleep 2.1"), "exit 0");
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(4100));
}

TEST_F(LaunchWith, PassesOnTheEndOnlyWhenAllIsOverThatTheProgramStarted) {
    EXPECT_EQ(Run({"--grace", "0"}, "setsid sleep 1000 & sleep 1000 & exit 3"), "exit 3");
    EXPECT_THAT(Left(), testing::IsEmpty());
}

}  // namespace
