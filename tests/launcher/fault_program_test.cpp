// Programs that are deleted, replaced, ignore signals, stop themselves or fork; and
// signals that reach more than the launcher, or that it cannot handle.

#include <unistd.h>

#include <csignal>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/log_gate.h"
#include "tests/support/system_call.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

using FaultDeletedProgram = LimitedLauncherTest;

TEST_F(FaultDeletedProgram, MakesAChainWhoseLastLinkRunsItOnceItIsBack) {
    StartLimited(ListText({Item("a")}), 200);
    pid_t const first = WaitForStarts(1)[0].pid;
    std::filesystem::path const aside = directory.Path() / "aside";
    std::filesystem::rename(program_copy, aside);
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_THAT(LinksAndPrograms(), ElementsAre(first));
    kill(first, SIGKILL);
    ASSERT_TRUE(WaitFor([this] { return LinksAndPrograms().size() >= 4; }));
    std::string const launcher_id = std::to_string(launcher->Pid());
    EXPECT_EQ(CountInLog("DEBUG " + launcher_id + " [LAUNCHER  ] Start to fork a"), 2U);
    EXPECT_THAT(Messages("ERROR"), ElementsAre(Killed("a", first, 9)));

    std::filesystem::rename(aside, program_copy);
    ProgramStart const again = WaitForStarts(2)[1];
    std::vector<pid_t> const chain = LinksAndPrograms();
    ASSERT_THAT(chain, SizeIs(testing::Ge(4U)));
    EXPECT_EQ(ParentOf(chain[0]), launcher->Pid());
    EXPECT_EQ(again.parent, chain[chain.size() - 2]);
    EXPECT_EQ(again.pid, chain.back());
    // A stop only reaches the first link; the others and the program run on.
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(LinksAndPrograms(),
                testing::ElementsAreArray(chain.begin() + 1, chain.end()));
    EXPECT_THAT(Messages("ERROR"),
                ElementsAre(Killed("a", first, 9), Killed("a", chain[0], 9)));
}

class FaultProgram : public LauncherTest {
  protected:
    // Returns an item whose program is a shell script, which is written to `script`.
    std::string Script(std::string const& name, std::string const& text) const {
        WriteScript(script, text);
        return R"({"name": ")" + name + R"(", "program": ")" + script.string() + R"("})";
    }

    static void WriteScript(std::filesystem::path const& file, std::string const& text) {
        WriteFile(file, "#!/bin/sh\n" + text + "\n");
        std::filesystem::permissions(file, std::filesystem::perms(0755));
    }

    // Waits until a program that ends at once was started three more times.
    void WaitForThreeStartsOf(std::string const& tag) const {
        WaitForStarts(Starts(tag).size() + 3, tag);
    }

    std::filesystem::path const script = directory.Path() / "script";
};

TEST_F(FaultProgram, AReplacedExecutableRunsFromTheNextStartOn) {
    std::string const program = TEST_PROGRAM;
    Start(ListText({Script("a", "exec " + program + " --hold old")}));
    pid_t const before = WaitForStarts(1, "old")[0].pid;
    std::filesystem::path const replacement = directory.Path() / "replacement";
    WriteScript(replacement, "exec " + program + " --hold new");
    std::filesystem::rename(replacement, script);
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_FALSE(IsGone(before));
    EXPECT_THAT(Messages("ERROR"), IsEmpty());
    kill(before, SIGKILL);
    pid_t const after = WaitForStarts(1, "new")[0].pid;
    EXPECT_EQ(ParentOf(after), launcher->Pid());
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(after));
    EXPECT_THAT(Messages("ERROR"),
                ElementsAre(Killed("a", before, 9), Killed("a", after, 9)));
    EXPECT_THAT(Starts(), SizeIs(2));
}

TEST_F(FaultProgram, OneThatIgnoresEverySignalRunsOnUntilTheStopKillsIt) {
    // SIGKILL and SIGSTOP cannot be ignored.
    Start(ListText({Script("deaf",
                           "trap '' 1 2 3 4 5 6 7 8 10 11 12 13 14 15 16 17 18 20 "
                           "21 22 23 24 25 26 27 28 29 30 31\nexec " +
                               std::string(TEST_PROGRAM) + " --hold deaf"),
                    RestlessItem("clock")}));
    pid_t const program = WaitForStarts(1, "deaf")[0].pid;
    for (int number = 1; number <= 31; ++number) {
        if (number != SIGKILL && number != SIGSTOP) {
            kill(program, number);
        }
    }
    WaitForThreeStartsOf("clock");
    EXPECT_FALSE(IsGone(program));
    EXPECT_EQ(CountInLog("deaf " + std::to_string(program)), 0U);
    LetRest();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    EXPECT_EQ(CountInLog(Killed("deaf", program, 9)), 1U);
    EXPECT_THAT(Starts("deaf"), SizeIs(1));
}

TEST_F(FaultProgram, OneThatStopsItselfIsLeftAloneAndRunsOnAfterSigcont) {
    Start(
        ListText({Item("a", {"--raise=19", "a"}), Item("clock", {"--exit=0", "clock"})}));
    pid_t const program = WaitForStarts(1, "a")[0].pid;
    ASSERT_TRUE(WaitFor([program] { return StateOf(program) == 'T'; }));
    WaitForThreeStartsOf("clock");
    EXPECT_EQ(StateOf(program), 'T');
    kill(program, SIGCONT);
    EXPECT_TRUE(WaitFor([program] { return StateOf(program) == 'S'; }));
    WaitForThreeStartsOf("clock");
    EXPECT_EQ(CountInLog("] a "), 0U);
    EXPECT_THAT(Starts("a"), SizeIs(1));
}

TEST_F(FaultProgram, OneThatHasStoppedItselfIsKilledByTheStop) {
    Start(ListText({Item("a", {"--raise=19"})}));
    pid_t const program = WaitForStarts(1)[0].pid;
    ASSERT_TRUE(WaitFor([program] { return StateOf(program) == 'T'; }));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    EXPECT_THAT(Messages("ERROR"), ElementsAre(Killed("a", program, 9)));
}

TEST_F(FaultProgram, OneThatForksAndLeavesIsStartedAgainAndItsCopiesOutliveTheStop) {
    std::string const program = TEST_PROGRAM;
    std::filesystem::path const rest = directory.Path() / "rest";
    Start(ListText(
        {Script("a", "if [ -e " + rest.string() + " ]; then exec " + program +
                         " --hold last; fi\n" + program + " --hold copy &\nexit 3")}));
    std::vector<ProgramStart> const copies = WaitForStarts(3, "copy");
    WriteFile(rest, "");
    pid_t const last = WaitForStarts(1, "last")[0].pid;
    EXPECT_EQ(Stop(), "exit 1");
    for (ProgramStart const& copy : copies) {
        EXPECT_FALSE(IsGone(copy.pid));
        EXPECT_NE(ParentOf(copy.pid), launcher->Pid());
        // What is logged is the end of the one that left.
        EXPECT_EQ(CountInLog("] a " + std::to_string(copy.pid) + " "), 0U);
    }
    EXPECT_GE(CountInLog(", status = 768"), 3U);
    EXPECT_THAT(Messages("ERROR"),
                testing::Each(AnyOf(EndsWith(", status = 768"), Killed("a", last, 9))));
}

using FaultSignal = LauncherTest;

TEST_F(FaultSignal, SigkillOfTheLauncherLeavesItsProgramsRunningAndTheNextOneStartsMore) {
    std::string const list =
        ListText({Item("a", {"--hold", "a"}), Item("b", {"--hold", "b"})});
    Start(list);
    WaitForStarts(2);
    ASSERT_TRUE(WaitUntilMainWaits());
    launcher->Signal(SIGKILL);
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    pid_t const dead = launcher->Pid();
    std::vector<pid_t> const left = RunningPrograms();
    EXPECT_THAT(left, SizeIs(2));
    for (pid_t const program : left) {
        EXPECT_NE(ParentOf(program), dead);
    }
    EXPECT_THAT(Messages("ERROR"), IsEmpty());

    Start(list);
    WaitForStarts(4);
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(RunningPrograms(), testing::UnorderedElementsAreArray(left));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

// Any wake-up of main is a stop. On Linux, SIGCONT does not wake it.
TEST_F(FaultSignal, SigstopAndSigcontLetTheLauncherWaitOn) {
    Start(ListText({Item("a")}));
    pid_t const program = WaitForStarts(1)[0].pid;
    ASSERT_TRUE(WaitUntilMainWaits());
    for (int i = 0; i < 20; ++i) {
        launcher->Signal(SIGSTOP);
        ASSERT_TRUE(WaitFor([this] { return StateOf(launcher->Pid()) == 'T'; }));
        launcher->Signal(SIGCONT);
        ASSERT_TRUE(WaitFor([this] { return StateOf(launcher->Pid()) == 'S'; }));
        ASSERT_TRUE(WaitUntilMainWaits());
    }
    // No stop is tried: right after SIGCONT the system may give SIGTERM to the
    // supervising thread, and the launcher then aborts.
    EXPECT_FALSE(IsGone(program));
    EXPECT_THAT(Messages("ERROR"), testing::IsEmpty());
}

TEST_F(FaultSignal, SigtermToTheWholeProcessGroupStopsTheLauncherAndItsProgram) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    Start(ListText({Item("a")}));
    pid_t const program = WaitForStarts(1)[0].pid;
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_EQ(getpgid(program), launcher->Pid());
    kill(-launcher->Pid(), SIGTERM);
    // The end of the program is logged once the stop is under way.
    ASSERT_TRUE(WaitFor([this] {
        return WaitsForThread(SystemCallOf(launcher->Pid(), launcher->Pid()));
    }));
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    EXPECT_TRUE(IsGone(program));
    gate.Open();
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    // Whichever signal came first.
    EXPECT_THAT(gate.Log(), ElementsAre(AnyOf(EndsWith(Killed("a", program, 15)),
                                              EndsWith(Killed("a", program, 9)))));
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(FaultSignal, SigtermToTheGroupOfSeveralProgramsMayWaitForOneThatIsStartedAgain) {
    std::filesystem::path const word = directory.Path() / "word";
    std::string const until = "--until=" + word.string();
    Start(ListText(
        {Item("a", {until, "a"}), Item("b", {until, "b"}), Item("c", {until, "c"})}));
    std::vector<ProgramStart> const programs = WaitForStarts(3);
    ASSERT_TRUE(WaitUntilMainWaits());
    kill(-launcher->Pid(), SIGTERM);
    for (ProgramStart const& program : programs) {
        EXPECT_TRUE(WaitFor([&program] { return IsGone(program.pid); }));
    }
    // The items are stopped one after the other, each for 50 ms; by then the next one's
    // program, which the signal has ended, is being started again. A stop that comes
    // before its id is known misses it, and waits until it ends by itself.
    WriteFile(word, "");
    EXPECT_EQ(launcher->WaitForEnd(), "exit 1");
    EXPECT_THAT(RunningPrograms(), IsEmpty());
    EXPECT_THAT(Messages("ERROR"), SizeIs(Messages("DEBUG").size()));
    EXPECT_THAT(Messages("ERROR"),
                testing::Each(AnyOf(EndsWith(", status = 15"), EndsWith(", status = 9"),
                                    EndsWith(", status = 0"))));
}

}  // namespace
