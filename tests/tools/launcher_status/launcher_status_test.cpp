// launcher-status, with real launchers.

#include <json/reader.h>

#include <csignal>
#include <filesystem>
#include <sstream>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/limited_user.h"
#include "tests/support/run_program.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

ProgramRun Status(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), LAUNCHER_STATUS);
    return RunProgram(arguments);
}

Json::Value Parse(std::string const& text) {
    std::istringstream stream(text);
    Json::Value value;
    stream >> value;
    return value;
}

// Returns "NAME STATE PID RESTARTS" for each item of the first launcher.
std::vector<std::string> Items() {
    std::vector<std::string> texts;
    Json::Value const report = Parse(Status({"--json"}).output);
    for (Json::Value const& item : report["launchers"][0]["items"]) {
        texts.push_back(item["name"].asString() + " " + item["state"].asString() + " " +
                        item["pid"].asString() + " " + item["restarts"].asString());
    }
    return texts;
}

using LauncherStatusTool = LauncherTest;

TEST_F(LauncherStatusTool, ShowsTheProgramOfEachItemAndItsRestarts) {
    SetLogLevel("ERROR");
    // A line of another launcher, and one that is older than this launcher.
    WriteFile(log_file,
              "2999-01-01T00:00:00.000Z ERROR 4 [LAUNCHER  ] b 5 is killed. ret = 5, "
              "status = 0\n2001-01-01T00:00:00.000Z [LAUNCHER  ] b 5 is killed. ret = 5, "
              "status = 0\n");
    Start(ListText({Item("a", {"--hold", "a"}), Item("b", {"--hold", "b"})}));
    pid_t const first = WaitForStarts(1, "a")[0].pid;
    kill(WaitForStarts(1, "b")[0].pid, SIGKILL);
    pid_t const second = WaitForStarts(2, "b")[1].pid;
    EXPECT_THAT(Items(), ElementsAre("a running " + std::to_string(first) + " 0",
                                     "b running " + std::to_string(second) + " 1"));
    ProgramRun const run = Status({list_file});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_THAT(run.output, StartsWith("launcher " + std::to_string(launcher->Pid()) +
                                       " (test), list " + list_file.string() + ", "));
    EXPECT_THAT(run.output, HasSubstr("  killed by SIGKILL\n"));
    EXPECT_EQ(run.errors, "");
}

TEST_F(LauncherStatusTool, TellsTheLaunchersApartByTheirLists) {
    Start(ListText({Item("a")}));
    std::filesystem::create_directory(directory.Path() / "in");
    directory.Write("in/list.json", "{}");
    // It names its list by a path that only its current directory completes.
    Process const other({launcher_program, "other", "list.json"}, [this] {
        std::filesystem::current_path(directory.Path() / "in");
    });
    WaitForStarts(1);
    ASSERT_TRUE(WaitFor(
        [] { return Parse(Status({"--json"}).output)["launchers"].size() == 2; }));
    ProgramRun const run = Status({directory.Path() / "in/../in/list.json"});
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("(other), list "), HasSubstr("has no items")));
    EXPECT_THAT(run.output, testing::Not(HasSubstr("(test)")));
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(Status({directory.Path() / "no.json"}).end, "exit 3");
}

TEST_F(LauncherStatusTool, ShowsAChainAndTheLinksThatADeadLauncherLeft) {
    SetLogLevel("ERROR");
    Start(ListText({Item("a"), ItemText("late", "/nothing/here")}));
    std::string const running = "a running " + std::to_string(WaitForStarts(1)[0].pid);
    ASSERT_TRUE(WaitFor([&running] {
        return Items() == std::vector<std::string>{running + " 0", "late chain  0"};
    }));
    EXPECT_EQ(Status().end, "exit 1");

    launcher->Signal(SIGKILL);
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    ProgramRun const run = Status({list_file});
    EXPECT_EQ(run.end, "exit 3");
    EXPECT_THAT(run.output, HasSubstr("\n! a     left behind  "));
    EXPECT_THAT(Status().output, HasSubstr(" processes of chains\n"));
    EXPECT_EQ(RunProgram({LAUNCHER_STOP, "--leftovers", list_file}).end, "exit 0");
}

TEST_F(LauncherStatusTool, ShowsTheProgramBelowLaunchWithAndWhetherThatWaits) {
    Start(ListText(
        {ItemText("a", LAUNCH_WITH, {"--", TEST_PROGRAM, "--hold", "a"}),
         ItemText("b", LAUNCH_WITH, {"--at-most-every", "1000", "--", "/bin/true"})}));
    ASSERT_TRUE(WaitFor([this] { return Starts("a").size() == 1; }));
    std::string const program = std::to_string(Starts("a")[0].pid);
    EXPECT_TRUE(WaitFor([&program] {
        return Items() ==
               std::vector<std::string>{"a running " + program + " 0", "b waiting  0"};
    }));
    EXPECT_EQ(Status().end, "exit 1");
    EXPECT_EQ(RunProgram({LAUNCHER_STOP}).end, "exit 0");
}

TEST_F(LauncherStatusTool, CannotTellWithoutTheListOrOfNewItems) {
    Start(ListText({Item("a")}));
    pid_t const program = WaitForStarts(1)[0].pid;
    WriteFile(list_file, ListText({Item("a"), Item("new", {"new"})}));
    std::filesystem::last_write_time(
        list_file, std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_THAT(Items(), ElementsAre("a running " + std::to_string(program) + " 0",
                                     "new unknown  0"));
    ProgramRun run = Status();
    EXPECT_EQ(run.end, "exit 4");
    EXPECT_THAT(run.output, HasSubstr("\nthe list was changed since; "));
    std::filesystem::remove(list_file);
    run = Status();
    EXPECT_EQ(run.end, "exit 4");
    EXPECT_THAT(run.output, HasSubstr("\nthe list cannot be read\n"));
}

TEST_F(LauncherStatusTool, WatchesUntilASignal) {
    // Without a program, whose times change, the report stays the same.
    Start("{}");
    ASSERT_TRUE(WaitUntilMainWaits());
    ProgramRun const run =
        RunProgram({"/usr/bin/timeout", "--preserve-status", "-s", "INT", "0.5",
                    LAUNCHER_STATUS, "--watch", "--json"});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_THAT(run.output, MatchesRegex("\\{\"launchers\":[^\n]*\\}\n"));
}

TEST_F(LauncherStatusTool, WatchPrintsTheReportAgainAfterARestart) {
    SetLogLevel("ERROR");
    directory.Write("home/Library/Logs/Other/voplog/launcher.log",
                    "2026-11-21T10:00:00Z ERROR 99999 [LAUNCHER  ] a 7 is killed. "
                    "ret = 7, status = 256\n");
    Start(ListText({Item("a")}));
    std::string const output = directory.Path() / "output";
    Process const watch(
        {"/bin/sh", "-c", "exec " LAUNCHER_STATUS " --watch --json >" + output});
    // Returns whether the last report has this program, and so many restarts.
    auto const shows = [&output](pid_t program, int restarts) {
        std::string const text = ReadFile(output);
        if (text.empty() || text.back() != '\n') {
            return false;
        }
        Json::Value const item = Parse(Lines(text).back())["launchers"][0]["items"][0];
        return item["pid"] == program && item["restarts"] == restarts;
    };
    pid_t const first = WaitForStarts(1)[0].pid;
    EXPECT_TRUE(WaitFor([&] { return shows(first, 0); }));
    kill(first, SIGKILL);
    pid_t const second = WaitForStarts(2)[1].pid;
    EXPECT_TRUE(WaitFor([&] { return shows(second, 1); }));
}

TEST_F(LauncherStatusTool, SaysIfThereIsNoLauncher) {
    ProgramRun const run = Status();
    EXPECT_EQ(run.end, "exit 3");
    EXPECT_EQ(run.output, "no launcher is running\n");
    EXPECT_EQ(Status({"a", "b"}).end, "exit 2");
}

using LauncherStatusToolOfLimitedUser = LimitedLauncherTest;

TEST_F(LauncherStatusToolOfLimitedUser, ShowsAnItemThatWasGivenUp) {
    // The launcher and a supervisor, a program and a supervisor, and no process more.
    StartLimited(ListText({Item("a", {"--hold", "a"}), Item("b", {"--hold", "b"})}), 4);
    ASSERT_TRUE(WaitFor([this] { return CountInLog("Failed to fork ") == 1; }));
    WaitForStarts(1);
    // Where the user may not read the build folder.
    std::filesystem::path const tool = directory.Path() / "launcher-status";
    std::filesystem::copy(LAUNCHER_STATUS, tool);
    ProgramRun const run = RunProgram({tool}, "", [] { BecomeLimitedUser(10); });
    EXPECT_EQ(run.end, "exit 1") << run.errors;
    EXPECT_THAT(run.output, HasSubstr("  given up: a fork failed  "));
    EXPECT_THAT(run.output, HasSubstr("  running "));
}

}  // namespace
