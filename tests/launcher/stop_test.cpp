// How the launcher stops.

#include <chrono>
#include <csignal>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/log_gate.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

using LauncherStop = LauncherTest;

TEST_F(LauncherStop, SigtermKillsTheProgramLogsItsEndAndEndsWithOne) {
    Start(ListText({Item("a")}));
    pid_t const program = WaitForStarts(1)[0].pid;
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    EXPECT_THAT(Messages("ERROR"), ElementsAre(Killed("a", program, 9)));
    EXPECT_THAT(Messages("DEBUG"), SizeIs(1));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(LauncherStop, EveryProgramCostsAtLeastFiftyMilliseconds) {
    std::vector<std::string> items;
    for (int i = 0; i < 50; ++i) {
        items.push_back(Item("item" + std::to_string(i)));
    }
    Start(ListText(items));
    WaitForStarts(50);
    ASSERT_TRUE(WaitUntilMainWaits());
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_GE(std::chrono::steady_clock::now() - begin,
              50 * std::chrono::milliseconds(50));
    EXPECT_THAT(RunningPrograms(), IsEmpty());
    EXPECT_EQ(CountInLog(", status = 9"), 50U);
}

TEST_F(LauncherStop, TwoHundredItemsStartAndStop) {
    std::vector<std::string> items;
    for (int i = 0; i < 200; ++i) {
        items.push_back(Item("item" + std::to_string(i)));
    }
    Start(ListText(items));
    WaitForStarts(200);
    EXPECT_THAT(RunningPrograms(), SizeIs(200));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(RunningPrograms(), IsEmpty());
}

TEST_F(LauncherStop, ASecondSigtermFindsNothingToStopAndWakesMain) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    // The last item holds main up, so that the first signal comes before its wait.
    Start(ListText({Item("a"), "{}"}));
    pid_t const program = WaitForStarts(1)[0].pid;
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    launcher->Signal(SIGTERM);
    gate.Open();
    ASSERT_TRUE(WaitFor([&gate] { return gate.Log().size() == 2; }));
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_TRUE(IsGone(program));
    EXPECT_FALSE(launcher->HasEnded());
    launcher->Signal(SIGTERM);
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    EXPECT_THAT(gate.Log(),
                ElementsAre(EndsWith("status = 9"), EndsWith("has no name.")));
}

TEST_F(LauncherStop, ASigtermBeforeMainWaitsStopsTheProgramsAndIsLostOnMain) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    // The second item holds main up in the middle of the walk.
    Start(ListText({Item("a", {"--hold", "a"}), "{}", Item("c", {"--hold", "c"})}));
    pid_t const first = WaitForStarts(1, "a")[0].pid;
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    launcher->Signal(SIGTERM);
    EXPECT_TRUE(WaitFor([&] { return IsGone(first); }));
    gate.Open();
    // The walk goes on, and main waits for another one.
    pid_t const third = WaitForStarts(1, "c")[0].pid;
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_FALSE(IsGone(third));
    EXPECT_FALSE(launcher->HasEnded());
    launcher->Signal(SIGTERM);
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    EXPECT_TRUE(IsGone(third));
    EXPECT_THAT(gate.Log(), ElementsAre(EndsWith("status = 9"), EndsWith("has no name."),
                                        EndsWith("status = 9")));
}

TEST_F(LauncherStop, AProgramThatIgnoresSigtermIsKilledAllTheSame) {
    std::string const script = R"({"name": "deaf", "program": "/bin/sh", "argc": 2,
        "args": {"0": "-c", "1": "trap '' TERM INT HUP; exec )" +
                               std::string(TEST_PROGRAM) + R"("}})";
    Start(ListText({script}));
    pid_t const program = WaitForStarts(1)[0].pid;
    kill(program, SIGTERM);
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
}

TEST_F(LauncherStop, AProgramThatHasEndedBeforeTheStopIsNotStartedAgain) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    std::filesystem::path const word = directory.Path() / "word";
    Start(ListText({Item("a", {"--until=" + word.string()})}));
    WaitForStarts(1);
    ASSERT_TRUE(WaitUntilMainWaits());
    WriteFile(word, "");
    // The thread has seen the end and is about to log it, when the stop comes.
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    launcher->Signal(SIGTERM);
    gate.Open();
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    EXPECT_THAT(gate.Log(), ElementsAre(EndsWith("status = 0")));
    EXPECT_THAT(Starts(), SizeIs(1));
}

}  // namespace
