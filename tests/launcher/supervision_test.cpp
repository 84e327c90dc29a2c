// What the launcher does with its programs while it runs.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/limited_user.h"
#include "tests/support/log_gate.h"
#include "tests/support/sanitizers.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

using LauncherSupervision = LauncherTest;

void ForbidCores() {
    rlimit const none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

TEST_F(LauncherSupervision, LogsTheRawWaitStatusOfEveryKindOfEnd) {
    Start(
        ListText(
            {Item("zero", {"--exit=0", "zero"}), Item("three", {"--exit=3", "three"}),
             Item("segv", {"--raise=11", "segv"}), Item("steady", {"--hold", "steady"})}),
        ForbidCores);
    kill(WaitForStarts(1, "steady")[0].pid, SIGKILL);
    struct {
        char const* name;
        int status;
    } const ends[] = {{"zero", 0}, {"three", 3 * 256}, {"segv", 11}, {"steady", 9}};
    for (auto const& [name, status] : ends) {
        pid_t const first = WaitForStarts(2, name)[0].pid;
        EXPECT_THAT(Messages("ERROR"), testing::Contains(Killed(name, first, status)));
    }
}

TEST_F(LauncherSupervision, StartsAgainNoSoonerThanFiftyMillisecondsAfterTheEnd) {
    Start(ListText({Item("a", {"--exit=0"})}));
    std::vector<ProgramStart> const starts = WaitForStarts(10);
    for (std::size_t i = 1; i < starts.size(); ++i) {
        EXPECT_GE(starts[i].start_time - starts[i - 1].end_time, 50'000'000);
    }
}

TEST_F(LauncherSupervision, EveryPassIsAStartAtDebugAndAnEndAtError) {
    Start(ListText({Item("a", {"--exit=1"})}));
    std::vector<ProgramStart> const starts = WaitForStarts(4);
    std::vector<std::string> const log = Log();
    std::string const launcher_id = std::to_string(launcher->Pid());
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(log.at(2 * i),
                  "DEBUG " + launcher_id + " [LAUNCHER  ] Start to fork a");
        EXPECT_EQ(log.at(2 * i + 1),
                  "ERROR " + launcher_id + " " + Killed("a", starts[i].pid, 256));
    }
}

TEST_F(LauncherSupervision, ProgramsGetTheEnvironmentAndNoDescriptor) {
    setenv("TEST_PROGRAM_MARKER", "from outside", 1);
    Start(ListText({Item("a", {"--exit=0", "a"}), Item("b", {"--exit=0", "b"})}));
    WaitForStarts(5, "a");
    WaitForStarts(5, "b");
    for (ProgramStart const& start : Starts()) {
        EXPECT_EQ(start.descriptors, "");
        EXPECT_EQ(start.marker, "from outside");
        EXPECT_EQ(start.parent, launcher->Pid());
    }
}

TEST_F(LauncherSupervision, ProgramsGetEverythingElseAsTheLauncherGotIt) {
    Start(ListText({Item("a")}), [] {
        rlimit const descriptors = {77, 78};
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR2);
        sigprocmask(SIG_SETMASK, &blocked, nullptr);
        for (int number = 1; number <= 31; ++number) {
            std::signal(number, number == SIGUSR1 ? SIG_IGN : SIG_DFL);
        }
        umask(027);
        if (setrlimit(RLIMIT_NOFILE, &descriptors) != 0 || chdir("/dev") != 0 ||
            dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), 9) != 9) {
            _exit(99);
        }
    });
    ProgramStart const start = WaitForStarts(1)[0];
    EXPECT_EQ(start.descriptors, "9");
    EXPECT_EQ(ProcValue(start.pid, "status", "Umask"), "0027");
    EXPECT_EQ(ProcValue(start.pid, "status", "SigBlk"), "0000000000000800");
    EXPECT_EQ(ProcValue(start.pid, "status", "SigIgn"), "0000000000000200");
    std::string const process = "/proc/" + std::to_string(start.pid);
    EXPECT_EQ(std::filesystem::read_symlink(process + "/cwd"), "/dev");
    std::string const limits = ReadFile(process + "/limits");
    EXPECT_THAT(limits, testing::ContainsRegex("Max open files +77 +78 "));
    EXPECT_EQ(limits, ReadFile("/proc/" + std::to_string(launcher->Pid()) + "/limits"));
}

TEST_F(LauncherSupervision, TheLauncherStaysInTheProcessGroupThatItWasStartedIn) {
    WriteFile(list_file, ListText({Item("a")}));
    launcher = std::make_unique<Process>(std::vector<std::string>{
        "/bin/sh", "-c", R"("$0" test "$1" & wait)", launcher_program, list_file});
    ASSERT_TRUE(WaitFor([this] { return Starts().size() == 1; }));
    ProgramStart const start = Starts()[0];
    EXPECT_NE(start.parent, launcher->Pid());
    EXPECT_EQ(getpgid(start.parent), launcher->Pid());
    EXPECT_EQ(getpgid(start.pid), launcher->Pid());
}

TEST_F(LauncherSupervision, TheLauncherKeepsNoDescriptorOpen) {
    Start(ListText({Item("a")}));
    WaitForStarts(1);
    ASSERT_TRUE(WaitUntilMainWaits());
    EXPECT_EQ(CountDescriptors(launcher->Pid()), 0U);
}

TEST_F(LauncherSupervision, ArgumentsArriveByteForByte) {
    std::string const item =
        R"({"name": "a", "program": ")" + std::string(TEST_PROGRAM) +
        R"(", "more": [1], "argc": 6, "args": {"0": "", "1": "two words",
                             "2": "'\"$HOME\\*", "3": "\u00e9\ud83d\ude00",
                             "4": "line\nfeed\t", "5": "cut\u0000off", "6": "ignored"}})";
    Start(ListText({item}));
    EXPECT_THAT(WaitForStarts(1)[0].arguments,
                ElementsAre(TEST_PROGRAM, "", "two words", "'\"$HOME\\*",
                            "\xC3\xA9\xF0\x9F\x98\x80", "line\nfeed\t", "cut"));
}

TEST_F(LauncherSupervision, AnItemWithoutAProgramIsForkedAgainAndAgainAndHarmsNobody) {
    Start(ListText(
        {Item("steady"), R"({"name": "none"})", R"({"name": "empty", "program": ""})"}));
    pid_t const steady = WaitForStarts(1)[0].pid;
    for (char const* const name : {"none", "empty"}) {
        EXPECT_TRUE(WaitFor([&] {
            return CountInLog("program path of " + std::string(name) + " is empty") >=
                       5 &&
                   CountInLog("] " + std::string(name) + " ") >= 5;
        }));
    }
    for (std::string const& line : Log()) {
        // A child logs at level ERROR and with its own process id.
        if (line.find("is empty") != std::string::npos) {
            EXPECT_THAT(
                line, testing::MatchesRegex("ERROR [0-9]+ \\[LAUNCHER  \\] program path "
                                            "of (none|empty) is empty"));
            EXPECT_THAT(line, testing::Not(testing::StartsWith(
                                  "ERROR " + std::to_string(launcher->Pid()) + " ")));
        }
        // It ends normally.
        if (line.find("is killed") != std::string::npos) {
            EXPECT_THAT(line, testing::EndsWith("status = 0"));
        }
    }
    EXPECT_FALSE(IsGone(steady));
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(LauncherSupervision, AnArgumentCountOrListOfTheWrongTypeEndsTheChildAbnormally) {
    std::string const program = R"("program": ")" + std::string(TEST_PROGRAM) + R"(")";
    Start(ListText({Item("steady", {"--hold", "steady"}),
                    R"({"name": "text", )" + program + R"(, "argc": "2"})",
                    R"({"name": "array", )" + program + R"(, "argc": 1, "args": ["a"]})",
                    R"({"name": "huge", )" + program + R"(, "argc": 2147483647})",
                    R"({"name": "number", )" + program + R"(, "argc": 1, "args": 5})"}),
          ForbidCores);
    pid_t const steady = WaitForStarts(1, "steady")[0].pid;
    for (char const* const name : {"text", "array", "huge", "number"}) {
        EXPECT_TRUE(WaitFor([&] {
            return CountInLog("] " + std::string(name) + " ") >= 3;
        })) << name;
    }
    EXPECT_THAT(Messages("ERROR"), Each(testing::EndsWith("status = 6")));
    EXPECT_FALSE(launcher->HasEnded());
    EXPECT_FALSE(IsGone(steady));
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(LauncherSupervision, AProgramThatIsNoTextEndsTheLauncherAbnormally) {
    for (char const* const program : {"[\"/bin/true\"]", "{}"}) {
        Start(ListText({R"({"name": "a", "program": )" + std::string(program) + "}"}),
              ForbidCores);
        EXPECT_EQ(launcher->WaitForEnd(), "signal 6") << program;
    }
    EXPECT_EQ(CountInLog("Start to fork"), 0U);
}

// The chains below grow under the process limit of a user who is not root.
using LauncherChain = LimitedLauncherTest;

TEST_F(LauncherChain, AProgramThatCannotBeExecutedMakesAChainOfWaitingProcesses) {
    StartLimited(ListText({R"({"name": "none", "program": "/nonexistent"})"}), 40);
    ASSERT_TRUE(WaitFor([this] { return LinksAndPrograms().size() >= 5; }));
    // Each link is the child of the one before, and the first is the launcher's.
    std::vector<pid_t> const links = LinksAndPrograms();
    pid_t parent = launcher->Pid();
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(ParentOf(links[i]), parent);
        parent = links[i];
    }
    // Each logs that it forks; the launcher itself logs that once. Nothing logs why.
    EXPECT_THAT(
        Messages("DEBUG"),
        testing::AllOf(SizeIs(testing::Ge(5U)), Each("[LAUNCHER  ] Start to fork none")));
    EXPECT_EQ(CountInLog("DEBUG " + std::to_string(launcher->Pid()) + " "), 1U);
    EXPECT_THAT(Messages("ERROR"), testing::IsEmpty());
}

TEST_F(LauncherChain, AStopKillsOnlyTheFirstLink) {
    StartLimited(ListText({R"({"name": "none", "program": "/nonexistent"})"}), 40);
    ASSERT_TRUE(WaitFor([this] { return LinksAndPrograms().size() >= 4; }));
    std::vector<pid_t> const links = LinksAndPrograms();
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_TRUE(IsGone(links[0]));
    EXPECT_FALSE(IsGone(links[1]));
    EXPECT_FALSE(IsGone(links[2]));
    EXPECT_THAT(Messages("ERROR"), testing::Contains(Killed("none", links[0], 9)));
}

TEST_F(LauncherChain, AtItsProcessLimitAChainShrinksAndHarmsNobody) {
    StartLimited(
        ListText({Item("steady"), R"({"name": "none", "program": "/nonexistent"})"}), 16);
    pid_t const steady = WaitForStarts(1)[0].pid;
    // The last link ends normally when its fork fails. The link before it logs that and
    // tries again.
    EXPECT_TRUE(WaitFor([this] {
        return CountInLog("[LAUNCHER  ] Failed to fork none") >= 3 &&
               CountInLog("status = 0") >= 3;
    }));
    EXPECT_FALSE(IsGone(steady));
    EXPECT_FALSE(launcher->HasEnded());
    EXPECT_THAT(Starts(), SizeIs(1));
}

TEST_F(LauncherChain, TheSearchPathIsNotUsed) {
    std::filesystem::copy(TEST_PROGRAM, directory.Path() / "program_on_path");
    setenv("PATH", directory.Path().c_str(), 1);
    StartLimited(ListText({R"({"name": "a", "program": "program_on_path"})"}), 40);
    EXPECT_TRUE(WaitFor([this] { return LinksAndPrograms().size() >= 3; }));
    EXPECT_THAT(Starts(), testing::IsEmpty());
}

TEST_F(LauncherChain, AFailedForkEndsTheSupervisionOfThatItem) {
    // Main, two supervising threads and one program: there is no room for the second.
    StartLimited(ListText({Item("first"), Item("second")}), 4);
    ASSERT_TRUE(
        WaitFor([this] { return CountInLog("[LAUNCHER  ] Failed to fork ") >= 1; }));
    pid_t const program = WaitForStarts(1)[0].pid;
    std::string const failed =
        CountInLog("Failed to fork first") == 1 ? "first" : "second";
    EXPECT_EQ(CountInLog("ERROR " + std::to_string(launcher->Pid()) +
                         " [LAUNCHER  ] Failed to fork " + failed),
              1U);
    // When the other program ends there is room again, and only that one is started.
    kill(program, SIGKILL);
    WaitForStarts(2);
    EXPECT_EQ(CountInLog("Start to fork " + failed), 1U);
}

TEST_F(LauncherChain, AStopAfterAFailedForkKillsEveryProcessOfTheUser) {
    StartLimited(ListText({Item("first"), Item("second")}), 4);
    ASSERT_TRUE(WaitFor([this] { return CountInLog("Failed to fork ") >= 1; }));
    WaitForStarts(1);
    Process bystander([this] {
        if (setuid(LimitedUser()) != 0) {
            return 77;
        }
        WriteFile(directory.Path() / "bystander", "");
        for (;;) {
            pause();
        }
    });
    ASSERT_TRUE(WaitFor(
        [this] { return std::filesystem::exists(directory.Path() / "bystander"); }));
    EXPECT_EQ(Stop(), "exit 1");
    EXPECT_EQ(bystander.WaitForEnd(), "signal 9");
}

TEST_F(LauncherChain, WithoutAThreadTheLauncherSaysItsLineAndEndsWithZero) {
    StartLimited(ListText({Item("a")}), 1);
    EXPECT_EQ(launcher->WaitForEnd(), "exit 0");
    EXPECT_THAT(Messages("ERROR"),
                ElementsAre("[LAUNCHER  ] Error while parsing saved json string."));
}

#if !UNDER_ASAN && !UNDER_TSAN
// A fork copies every mapping. Where the launcher has no stacks of its own, each thread
// has two mappings, its stack and the guard. A heap for each thread would be a third.
TEST_F(LauncherSupervision, FiftyProgramsTakeFewMappingsMoreThanOne) {
    auto const mappings = [this](int programs) {
        std::vector<std::string> items;
        for (int i = 0; i < programs; ++i) {
            std::string const tag = std::to_string(programs);
            items.push_back(Item("item" + std::to_string(i), {"--hold", tag}));
        }
        Start(ListText(items));
        WaitForStarts(static_cast<std::size_t>(programs), std::to_string(programs));
        std::size_t const count = CountMappings(launcher->Pid());
        EXPECT_EQ(Stop(), "exit 1");
        return count;
    };
    std::size_t const of_one = mappings(1);
    EXPECT_LT(mappings(50), of_one + 50UL * MAPPINGS_OF_A_THREAD + 20);
}
#endif

}  // namespace
