#include "launcher/child_proc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <future>
#include <system_error>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "harness/wait_for.h"
#include "tests/support/fake_kill.h"
#include "tests/support/fake_log.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/limited_user.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ChildProcTest : public testing::Test {
  protected:
    ChildProcTest() {
        setenv("TEST_PROGRAM_DIR", directory.Path().c_str(), 1);
        rlimit const no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        logger = &log;
    }
    ~ChildProcTest() override { logger = nullptr; }

    // Returns an item of the name "a" whose program is the test program, with these
    // members.
    static JsonObject Item(std::string const& more_members = "") {
        std::string const comma = more_members.empty() ? "" : ", ";
        std::string const text = R"({"name": "a", "program": ")" +
                                 std::string(TEST_PROGRAM) + "\"" + comma + more_members +
                                 "}";
        return JsonObject(text.c_str());
    }

    // Waits for so many starts, and until the last program can be stopped: before its id
    // is noted, the process group would be. Returns the starts.
    std::vector<ProgramStart> WaitForStarts(std::size_t count) const {
        EXPECT_TRUE(WaitFor([&] {
            std::vector<ProgramStart> const starts = StartsIn(directory.Path());
            return starts.size() >= count && (IsGone(starts.back().pid) ||
                                              IsWaitedFor(getpid(), starts.back().pid));
        }));
        return StartsIn(directory.Path());
    }

    // Returns the arguments that the program of an item with these members gets.
    std::vector<std::string> ArgumentsOf(std::string const& members) {
        for (ProgramStart const& start : StartsIn(directory.Path())) {
            std::filesystem::remove(directory.Path() /
                                    (std::to_string(start.pid) + ".start"));
        }
        ChildProc const child("test", Item(members));
        return WaitForStarts(1)[0].arguments;
    }

    // Returns the first message about an end.
    std::string WaitForEnd() const {
        std::string message;
        EXPECT_TRUE(WaitFor([&] {
            for (auto const& [level, text] : log.Lines()) {
                if (text.find("is killed") != std::string::npos) {
                    EXPECT_EQ(level, 8);
                    message = text;
                    return true;
                }
            }
            return false;
        }));
        return message;
    }

    TempDirectory directory;
    FakeLog log;
};

TEST_F(ChildProcTest, TheProgramGetsItsPathAndAsManyArgumentsAsArgcSays) {
    std::string const args = R"("args": {"0": "A", "1": "B"})";
    EXPECT_THAT(ArgumentsOf(""), ElementsAre(TEST_PROGRAM));
    EXPECT_THAT(ArgumentsOf(args), ElementsAre(TEST_PROGRAM));
    EXPECT_THAT(ArgumentsOf(R"("argc": 0, )" + args), ElementsAre(TEST_PROGRAM));
    EXPECT_THAT(ArgumentsOf(R"("argc": 1, )" + args), ElementsAre(TEST_PROGRAM, "A"));
    EXPECT_THAT(ArgumentsOf(R"("argc": 2, )" + args),
                ElementsAre(TEST_PROGRAM, "A", "B"));
    EXPECT_THAT(ArgumentsOf(R"("argc": 3, )" + args),
                ElementsAre(TEST_PROGRAM, "A", "B", ""));
}

TEST_F(ChildProcTest, MissingArgumentsAreEmpty) {
    EXPECT_THAT(ArgumentsOf(R"("argc": 2)"), ElementsAre(TEST_PROGRAM, "", ""));
    EXPECT_THAT(ArgumentsOf(R"("argc": 1, "args": null)"), ElementsAre(TEST_PROGRAM, ""));
    EXPECT_THAT(ArgumentsOf(R"("argc": 2, "args": {"1": "B"})"),
                ElementsAre(TEST_PROGRAM, "", "B"));
}

TEST_F(ChildProcTest, ElevenArgumentsComeInTheOrderOfTheirNumbers) {
    EXPECT_THAT(
        ArgumentsOf(R"("argc": 11, "args": {"10": "k", "0": "a", "1": "b",
        "2": "c", "3": "d", "4": "e", "5": "f", "6": "g", "7": "h", "8": "i", "9": "j"})"),
        ElementsAre(TEST_PROGRAM, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"));
}

TEST_F(ChildProcTest, ArgcIsReadAsANumberAndCutToThirtyTwoBits) {
    std::string const args = R"(, "args": {"0": "A", "1": "B"})";
    EXPECT_THAT(ArgumentsOf(R"("argc": 4294967297)" + args),
                ElementsAre(TEST_PROGRAM, "A"));
    EXPECT_THAT(ArgumentsOf(R"("argc": 1.9)" + args), ElementsAre(TEST_PROGRAM, "A"));
    EXPECT_THAT(ArgumentsOf(R"("argc": true)" + args), ElementsAre(TEST_PROGRAM, "A"));
    EXPECT_THAT(ArgumentsOf(R"("argc": null)" + args), ElementsAre(TEST_PROGRAM));
}

TEST_F(ChildProcTest, ANegativeArgcGivesAnEmptyVector) {
    std::string const args = R"(, "args": {"0": "A"})";
    for (std::string const count : {"-1", "-2", "-2147483648", "2147483648"}) {
        // The kernel puts an empty string in the place of a program that has no name.
        EXPECT_THAT(ArgumentsOf(R"("argc": )" + count + args),
                    testing::AnyOf(IsEmpty(), ElementsAre("")))
            << count;
    }
}

TEST_F(ChildProcTest, ArgumentsThatAreNoTextAreWrittenOut) {
    EXPECT_THAT(ArgumentsOf(R"("argc": 3, "args": {"0": 7000, "1": true, "2": null})"),
                ElementsAre(TEST_PROGRAM, "7000", "true", ""));
}

TEST_F(ChildProcTest, MoreArgumentsThanAnySystemTakesEndTheChildAbnormally) {
    for (std::string const count : {"1048576", "2147483647"}) {
        std::size_t const before = log.Lines().size();
        {
            ChildProc const child("test", Item(R"("argc": )" + count));
            EXPECT_TRUE(WaitFor([&] { return log.Lines().size() >= before + 2; }));
        }
        EXPECT_THAT(log.Lines()[before + 1].second, testing::EndsWith("status = 6"))
            << count;
    }
    EXPECT_THAT(StartsIn(directory.Path()), IsEmpty());
}

TEST_F(ChildProcTest, LogsAStartBeforeItAndTheRawStatusAfterTheEnd) {
    ChildProc const child("test", Item(R"("argc": 1, "args": {"0": "--exit=3"})"));
    std::string const message = WaitForEnd();
    EXPECT_EQ(message, Killed("a", WaitForStarts(1)[0].pid, 768));
    EXPECT_EQ(log.Lines()[0], FakeLog::Line(1, "[LAUNCHER  ] Start to fork a"));
    EXPECT_EQ(log.Lines()[1], FakeLog::Line(8, message));
    EXPECT_TRUE(WaitFor([this] { return log.Lines().size() >= 3; }));
    EXPECT_EQ(log.Lines()[2], FakeLog::Line(1, "[LAUNCHER  ] Start to fork a"));
}

TEST_F(ChildProcTest, WaitsForItsOwnProgramAmongTheChildrenOfTheProcess) {
    Process stranger([] { return 0; });
    ASSERT_TRUE(WaitFor([&] { return StateOf(stranger.Pid()) == 'Z'; }));
    {
        ChildProc const child("test", Item());
        WaitForStarts(1);
    }
    EXPECT_EQ(stranger.WaitForEnd(), "exit 0");
    EXPECT_EQ(log.Lines().back().second,
              Killed("a", StartsIn(directory.Path())[0].pid, 9));
}

TEST_F(ChildProcTest, IfTheSystemReapsTheChildrenTheFailedWaitIsLogged) {
    auto* const before = std::signal(SIGCHLD, SIG_IGN);
    {
        ChildProc const child("test", Item(R"("argc": 1, "args": {"0": "--exit=3"})"));
        std::string const message = WaitForEnd();
        EXPECT_EQ(message, "[LAUNCHER  ] a " + std::to_string(WaitForStarts(1)[0].pid) +
                               " is killed. ret = -1, status = 0");
        // Nothing else follows from it.
        WaitForStarts(2);
    }
    std::signal(SIGCHLD, before);
}

TEST_F(ChildProcTest, KeepsAPrivateCopyOfAViewOnAnItem) {
    std::string const text = R"({"0": {"name": "a", "program": ")" +
                             std::string(TEST_PROGRAM) +
                             R"(", "argc": 1, "args": {"0": "--exit=0"}}})";
    auto list = std::make_unique<JsonObject>(text.c_str());
    ChildProc const child("test", (*list)["0"]);
    (*list)["0"]["program"] = std::string("/nonexistent");
    (*list)["0"]["name"] = std::string("b");
    list.reset();
    WaitForStarts(3);
    EXPECT_THAT(WaitForEnd(), testing::StartsWith("[LAUNCHER  ] a "));
}

TEST_F(ChildProcTest, DestructionKillsTheProgramAndWaitsForTheThread) {
    std::vector<ProgramStart> starts;
    {
        ChildProc const child("test", Item());
        starts = WaitForStarts(1);
    }
    EXPECT_TRUE(IsGone(starts[0].pid));
    EXPECT_EQ(log.Lines().size(), 2U);
    EXPECT_EQ(log.Lines()[1], FakeLog::Line(8, Killed("a", starts[0].pid, 9)));
    EXPECT_THAT(TakeUnsentKills(), IsEmpty());
}

TEST_F(ChildProcTest, DestructionTakesThePauseOfFiftyMilliseconds) {
    auto child = std::make_unique<ChildProc>("test", Item());
    WaitForStarts(1);
    auto const begin = std::chrono::steady_clock::now();
    child.reset();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(ChildProcTest, DestructionBeforeTheFirstForkKillsTheProcessGroup) {
    log.Block("Start to fork");
    // The program ends by itself: nobody knows its id to kill it.
    auto child = std::make_unique<ChildProc>(
        "test", Item(R"("argc": 1, "args": {"0": "--exit=0"})"));
    log.WaitUntilOneIsBlocked();
    std::future<void> const destroyed =
        std::async(std::launch::async, [&child] { child.reset(); });
    std::vector<std::pair<pid_t, int>> kills;
    EXPECT_TRUE(WaitFor([&kills] {
        kills = TakeUnsentKills();
        return !kills.empty();
    }));
    EXPECT_THAT(kills, ElementsAre(testing::Pair(0, SIGKILL)));
    log.Unblock();
    destroyed.wait();
    // The pass that had begun was finished, and was the last.
    EXPECT_THAT(StartsIn(directory.Path()), testing::SizeIs(1));
    EXPECT_EQ(log.Lines().size(), 2U);
}

TEST_F(ChildProcTest, StopKillsTheProgramAndEndsTheSupervisionWithoutWaiting) {
    log.Block("is killed");
    ChildProc child("test", Item());
    pid_t const program = WaitForStarts(1)[0].pid;
    // The thread is blocked, so a Stop that waited for it would not return.
    child.Stop();
    EXPECT_TRUE(WaitFor([program] { return IsGone(program); }));
    log.WaitUntilOneIsBlocked();
    log.Unblock();
    EXPECT_EQ(WaitForEnd(), Killed("a", program, 9));
}

TEST_F(ChildProcTest, AfterAStopTheProgramIsNotStartedAgain) {
    {
        ChildProc child("test", Item());
        WaitForStarts(1);
        child.Stop();
        WaitForEnd();
    }
    EXPECT_THAT(StartsIn(directory.Path()), testing::SizeIs(1));
    EXPECT_EQ(log.Lines().size(), 2U);
}

// Runs `body` in a forked copy of the test, as a user who is not root and may have
// `limit` processes and threads.
std::string AsLimitedUser(unsigned long limit, std::function<int()> const& body) {
    Process process([&] {
        // A sanitizer may start threads of its own with the first one, which count too.
        // That one counts until the system has removed it, some time after its end.
        std::filesystem::path first = "/proc";
        std::thread([&first] {
            first /= std::filesystem::read_symlink("/proc/thread-self");
        }).join();
        if (!WaitFor([&first] { return !std::filesystem::exists(first); })) {
            return 97;
        }
        BecomeLimitedUser(limit + ThreadsOf(getpid()).size() - 1);
        return body();
    });
    return process.WaitForEnd();
}

TEST_F(ChildProcTest, AFailedForkEndsTheSupervisionAndDestructionKillsEverything) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    // There is room for the supervising thread, but not for its child.
    EXPECT_EQ(
        AsLimitedUser(2,
                      [] {
                          FakeLog fresh;
                          logger = &fresh;
                          {
                              ChildProc const child("test", Item());
                              if (!WaitFor([&] { return fresh.Lines().size() == 2; })) {
                                  return 1;
                              }
                              if (!TakeUnsentKills().empty()) {
                                  return 2;
                              }
                          }
                          auto const kills = TakeUnsentKills();
                          std::vector<FakeLog::Line> const expected = {
                              {1, "[LAUNCHER  ] Start to fork a"},
                              {8, "[LAUNCHER  ] Failed to fork a"}};
                          if (fresh.Lines() != expected) {
                              return 3;
                          }
                          return kills.size() == 1 && kills[0].first == -1 &&
                                         kills[0].second == SIGKILL
                                     ? 0
                                     : 4;
                      }),
        "exit 0");
}

TEST_F(ChildProcTest, WithoutAThreadTheConstructorThrowsTheSystemsErrorCode) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    EXPECT_EQ(AsLimitedUser(1,
                            [] {
                                try {
                                    ChildProc const child("test", Item());
                                } catch (std::system_error const& error) {
                                    std::string const text = error.what();
                                    std::string const start = "thread constructor failed";
                                    bool const right =
                                        text.compare(0, start.size(), start) == 0 &&
                                        error.code() ==
                                            std::errc::resource_unavailable_try_again;
                                    return right && TakeUnsentKills().empty() ? 0 : 1;
                                }
                                return 2;
                            }),
              "exit 0");
}

TEST_F(ChildProcTest, ANameThatIsNoTextThrows) {
    EXPECT_THROW(ChildProc("test", JsonObject(R"({"name": ["a"]})")), std::exception);
    EXPECT_THAT(TakeUnsentKills(), IsEmpty());
    EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
