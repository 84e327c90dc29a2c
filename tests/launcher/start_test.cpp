// How the launcher starts: arguments, launch list, log.

#include <csignal>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/log_gate.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

using LauncherStart = LauncherTest;

// An event of priority 3, which syslog completes with the facility "user".
auto Event(std::string const& text) {
    return MatchesRegex("<11>... .. ..:..:.. launcher: " + text);
}

TEST_F(LauncherStart, WithFewerThanTwoArgumentsItSendsOneEventAndEndsWithZero) {
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{}, std::vector<std::string>{"name"}}) {
        StartWith(arguments);
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
        EXPECT_THAT(system_log.Received(),
                    ElementsAre(Event("Tamlin Launcher : wrong parameters\\.")));
    }
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
}

TEST_F(LauncherStart, FurtherArgumentsAreIgnored) {
    WriteFile(list_file, ListText({Item("a")}));
    StartWith({"test", list_file, "/nonexistent", "--help"});
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(LauncherStart, AnUnreadableOrEmptyListSilentlyEndsItWithZero) {
    std::filesystem::path const empty = directory.Path() / "empty.json";
    WriteFile(empty, "");
    for (std::filesystem::path const& list : {directory.Path() / "missing.json", empty}) {
        StartWith({"test", list});
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    }
    EXPECT_THAT(system_log.Received(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
}

// Returns the processor time that a process has used, in the system's clock ticks.
long ProcessorTime(pid_t pid) {
    return std::stol(StatField(pid, 14)) + std::stol(StatField(pid, 15));
}

TEST_F(LauncherStart, ADirectoryAsListKeepsItReadingAndOnlySigkillEndsIt) {
    StartWith({"test", directory.Path()});
    EXPECT_TRUE(WaitFor([this] { return ProcessorTime(launcher->Pid()) > 30; }));
    // The handler is there already, and finds nothing to do.
    launcher->Signal(SIGTERM);
    EXPECT_TRUE(WaitFor([this] { return ProcessorTime(launcher->Pid()) > 60; }));
    EXPECT_FALSE(launcher->HasEnded());
    EXPECT_FALSE(std::filesystem::exists(home / "Library/Logs"));
    launcher->Signal(SIGKILL);
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
}

TEST_F(LauncherStart, AListThatIsNotJsonIsLoggedAndEndsItWithZero) {
    std::vector<std::string> const bad_lists = {
        "not json",
        "{\"0\": ",
        "{",
        "a",
        std::string(1, '\0'),
        R"({"0")" + std::string(1, '\0') + R"(: {"name": "a"}})"};
    for (std::string const& list : bad_lists) {
        std::filesystem::remove(log_file);
        Start(list);
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0") << list;
        EXPECT_THAT(Log(), ElementsAre(MatchesRegex(
                               "ERROR [0-9]+ \\[LAUNCHER  \\] Error while parsing saved "
                               "json string\\.")))
            << list;
    }
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(LauncherStart, AListThatIsNoObjectIsLoggedAndEndsItWithZero) {
    for (char const* const list :
         {R"([{"name": "a"}])", "[]", "5", R"("text")", "true"}) {
        std::filesystem::remove(log_file);
        Start(list);
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0") << list;
        EXPECT_THAT(Messages("ERROR"),
                    ElementsAre("[LAUNCHER  ] Error while parsing saved json string."))
            << list;
    }
}

TEST_F(LauncherStart, AListWithoutItemsLetsItWaitForItsEnd) {
    for (char const* const list : {"{}", "null", R"({"1": {"name": "a"}, "00": 5})"}) {
        Start(list);
        EXPECT_EQ(Stop(), "exit 1") << list;
    }
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(LauncherStart, TextAfterAZeroByteIsNotRead) {
    Start(ListText({Item("a")}) + std::string(1, '\0') + "not json");
    WaitForStarts(1);
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(LauncherStart, TheWalkEndsAtTheFirstMissingNumber) {
    Start("{\"0\": " + Item("a", {"--hold", "a"}) + ", \"2\": " +
          Item("c", {"--hold", "c"}) + ", \"01\": " + Item("d", {"--hold", "d"}) +
          ", \"x\": " + Item("e", {"--hold", "e"}) + "}");
    WaitForStarts(1, "a");
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(LauncherStart, AnItemWithoutANameIsLoggedAndSkipped) {
    Start(ListText({Item("a", {"--hold", "a"}), R"({"program": "/bin/true"})",
                    Item("c", {"--hold", "c"})}));
    WaitForStarts(1, "a");
    WaitForStarts(1, "c");
    EXPECT_THAT(Messages("ERROR"),
                ElementsAre("[LAUNCHER  ] There is an item has no name."));
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(LauncherStart, ANameIsAMemberAndNotAPath) {
    // The member called "/name" is no name.
    Start(ListText({R"({"/name": "a", "program": "/bin/true"})", Item("b")}));
    WaitForStarts(1);
    EXPECT_EQ(CountInLog("There is an item has no name."), 1U);
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(LauncherStart, ANameThatIsANumberOrNullIsReadAsText) {
    std::string number = Item("x", {"--hold", "number"});
    number.replace(number.find("\"x\""), 3, "5");
    std::string null = Item("x", {"--hold", "null"});
    null.replace(null.find("\"x\""), 3, "null");
    Start(ListText({number, null}));
    WaitForStarts(1, "number");
    WaitForStarts(1, "null");
    EXPECT_EQ(CountInLog("Start to fork 5"), 1U);
    EXPECT_THAT(Messages("DEBUG"), testing::Contains("[LAUNCHER  ] Start to fork "));
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(LauncherStart, AnErrorInTheWalkEndsItWithZeroAndStopsWhatWasStarted) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    // The second item holds main up until the first one's program runs.
    Start(ListText({Item("a"), "{}", R"({"name": ["no", "text"]})", Item("d")}));
    std::vector<ProgramStart> const started = WaitForStarts(1);
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    gate.Open();
    EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    EXPECT_TRUE(IsGone(started[0].pid));
    EXPECT_THAT(
        gate.Log(),
        ElementsAre(EndsWith("[LAUNCHER  ] There is an item has no name."),
                    EndsWith("[LAUNCHER  ] Error while parsing saved json string."),
                    EndsWith(Killed("a", started[0].pid, 9))));
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(LauncherStart, TheLaterItemOfTheSameNameWins) {
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    Start(ListText(
        {Item("a", {"--hold", "earlier"}), "{}", Item("a", {"--hold", "later"})}));
    ProgramStart const earlier = WaitForStarts(1, "earlier")[0];
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    gate.Open();
    ProgramStart const later = WaitForStarts(1, "later")[0];
    EXPECT_TRUE(WaitFor([&] { return IsGone(earlier.pid); }));
    EXPECT_FALSE(IsGone(later.pid));
    EXPECT_TRUE(WaitUntilMainWaits());
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(later.pid));
    EXPECT_THAT(gate.Log(), ElementsAre(EndsWith("has no name."),
                                        EndsWith(Killed("a", earlier.pid, 9)),
                                        EndsWith(Killed("a", later.pid, 9))));
    EXPECT_THAT(Starts("earlier"), SizeIs(1));
}

TEST_F(LauncherStart, TheLaterItemOfTheSameNameIsStartedBeforeTheEarlierIsStopped) {
    LogGate main_gate(log_file);
    SetLogLevel("ERROR");
    Start(ListText(
        {Item("a", {"--hold", "earlier"}), "{}", Item("a", {"--hold", "later"})}));
    ASSERT_THAT(WaitForStarts(1, "earlier"), SizeIs(1));
    ASSERT_TRUE(main_gate.WaitUntilBlocked(launcher->Pid(), 1));
    main_gate.MoveAway();
    LogGate end_gate(log_file);
    main_gate.Open();
    // The stop of the earlier one takes until its end is logged.
    EXPECT_THAT(WaitForStarts(1, "later"), SizeIs(1));
    EXPECT_TRUE(end_gate.WaitUntilBlocked(launcher->Pid(), 1));
    end_gate.Open();
    EXPECT_TRUE(WaitUntilMainWaits());
    EXPECT_EQ(Stop(), "exit 1");
}

TEST_F(LauncherStart, ReplacingASupervisorThatHasNotForkedKillsTheProcessGroup) {
    LogGate const gate(log_file);
    // Both supervisors are held up before their first fork.
    Start(ListText({Item("a"), Item("a")}));
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(LauncherStart, NothingThatHappensBeforeTheLogIsOpenedIsInIt) {
    Start(ListText({"{}"}));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(Log(), ElementsAre(MatchesRegex(
                           "ERROR [0-9]+ \\[LAUNCHER  \\] There is an item has no "
                           "name\\.")));
}

TEST_F(LauncherStart, StartsOfProgramsAreLoggedAtLevelDebugOnly) {
    for (char const* const level : {"ERROR", "debug", "MESSAGE"}) {
        SetLogLevel(level);
        Start(ListText({Item("a", {"--exit=0"})}));
        EXPECT_TRUE(WaitFor([this] { return CountInLog("a ") >= 2; }));
        launcher.reset();
        EXPECT_EQ(CountInLog("Start to fork"), 0U) << level;
        std::filesystem::remove(log_file);
    }
}

TEST_F(LauncherStart, WithoutLogIniErrorsAreLogged) {
    std::filesystem::remove_all(home / "Library");
    Start(ListText({"{}"}));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_THAT(Messages("ERROR"), SizeIs(1));
}

TEST_F(LauncherStart, WithoutALogItSendsOneEventAndRunsOn) {
    WriteFile(home / "Library/Logs/Tamlin", "a file in the place of the directory");
    Start(ListText({Item("a"), "{}"}));
    pid_t const program = WaitForStarts(1)[0].pid;
    EXPECT_THAT(system_log.Received(),
                ElementsAre(Event("Tamlin Launcher for test : Failed to initialize "
                                  "logger")));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(program));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(LauncherStart, AnEmptyNameLeavesABlankInTheEvent) {
    WriteFile(home / "Library/Logs/Tamlin", "a file in the place of the directory");
    WriteFile(list_file, ListText({Item("a")}));
    StartWith({"", list_file});
    WaitForStarts(1);
    EXPECT_THAT(system_log.Received(),
                ElementsAre(Event("Tamlin Launcher for  : Failed to initialize logger")));
}

TEST_F(LauncherStart, RunsFromACopyOfTheBundleStartedThroughALink) {
    std::filesystem::path const copy = directory.Path() / "moved/Other.app";
    std::filesystem::create_directories(copy.parent_path());
    std::filesystem::copy(std::filesystem::path(BUNDLE).parent_path(), copy,
                          std::filesystem::copy_options::recursive);
    WriteFile(copy / "Contents/Resources/vopapi.ini", "[SDK]\nNAME=Other\n");
    std::filesystem::path const link = copy / "Contents/MacOS/alias";
    std::filesystem::create_symlink("launcher", link);
    launcher_program = link;
    Start(ListText({Item("a")}));
    WaitForStarts(1);
    EXPECT_TRUE(std::filesystem::exists(home / "Library/Logs/Other/voplog"));
    EXPECT_EQ(Stop(), "exit 1");
}

}  // namespace
