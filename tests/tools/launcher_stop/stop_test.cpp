// The end of a launcher and of what it has left, with a process table that the tests
// make.

#include "tools/launcher_stop/stop.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "common/config/log.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "platform/user_processes.h"
#include "tests/tools/running/processes.h"

ILog* logger = nullptr;

namespace {

// The processes that a look at the system shows, who has the id of one, and how many
// there may be.
std::function<std::vector<ProcessInfo>()> look;
std::function<std::optional<ProcessInfo>(pid_t id)> find;
std::optional<UserProcesses> count;

}  // namespace

std::vector<ProcessInfo> ReadProcesses() {
    return look();
}

std::optional<ProcessInfo> ReadProcess(pid_t id) {
    return find(id);
}

// The process is a launcher without items, whose main waits.
std::vector<ThreadInfo> ReadThreads(pid_t id) {
    ThreadInfo main;
    main.id = id;
    main.waits_for_thread = true;
    return {main};
}

std::optional<UserProcesses> CountProcessesOf(pid_t /*pid*/) {
    return count;
}

std::string DirectoryOf(pid_t /*id*/) {
    return "/";
}

namespace launcher_stop {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Returns an orphan in a chain of a launcher with /list.json.
ProcessInfo Link(Process const& process) {
    return MakeFork(process.Pid(), 1, {kLauncherFile, "main", "/list.json"});
}

// Ends what launchers with /list.json and these items have left. Returns the lines that
// it says.
std::vector<std::string> EndLeftovers(running::LaunchItems const& items = {}) {
    std::vector<std::string> said;
    running::Family family("/list.json", items, 1000, {});
    EXPECT_TRUE(
        EndFamily(family, [&said](std::string const& line) { said.push_back(line); }));
    return said;
}

// Takes the process for a launcher with the list /list.json, which has no items, and
// stops it. Returns the lines that this says.
std::vector<std::string> StopAsLauncher(Process& process) {
    ProcessInfo const launcher =
        MakeProcess(process.Pid(), 1, {kLauncherFile, "main", "/list.json"});
    look = [launcher, &process] {
        return process.HasEnded() ? std::vector<ProcessInfo>{}
                                  : std::vector<ProcessInfo>{launcher};
    };
    std::vector<std::string> said;
    EXPECT_TRUE(StopLauncher({{launcher, "main", "/list.json"}, {}}, {},
                             [&said](std::string const& line) { said.push_back(line); }));
    return said;
}

class StopLauncherTest : public testing::Test {
  protected:
    StopLauncherTest() {
        find = [](pid_t id) { return MakeProcess(id, 1, {}); };
    }
    ~StopLauncherTest() override { count.reset(); }

    // The line that says how the launcher ended.
    std::string Ended(std::string const& end) const {
        return "launcher " + std::to_string(sleeper.Pid()) + " (main) " + end;
    }

    Process sleeper{{"/bin/sleep", "1000"}};
};

TEST_F(StopLauncherTest, SignalsNobodyWhoHasTheIdOfTheLauncherByNow) {
    find = [](pid_t id) {
        ProcessInfo other = MakeProcess(id, 1, {});
        ++other.start;
        return other;
    };
    EXPECT_THAT(StopAsLauncher(sleeper), testing::ElementsAre(Ended("had ended")));
    EXPECT_FALSE(sleeper.HasEnded());
}

TEST_F(StopLauncherTest, SendsNoSigtermWhereOnlyFewMoreProcessesArePossible) {
    count = {200, 101, true};
    EXPECT_THAT(StopAsLauncher(sleeper), testing::ElementsAre(testing::StartsWith(
                                             Ended("was ended by SIGKILL: it was not"))));
}

TEST_F(StopLauncherTest, SendsSigtermIfHalfOfASmallLimitIsFree) {
    count = {60, 30, true};
    EXPECT_THAT(StopAsLauncher(sleeper),
                testing::ElementsAre(Ended("ended after SIGTERM")));
}

TEST_F(StopLauncherTest, EndsWhatTheLauncherForkedBeforeItWasSuspended) {
    Process late({"/bin/sleep", "1000"});
    ProcessInfo const launcher =
        MakeProcess(sleeper.Pid(), 1, {kLauncherFile, "main", "/list.json"});
    auto const is_suspended = [this] { return StateOf(sleeper.Pid()) == 'T'; };
    find = [&](pid_t id) {
        ProcessInfo process = MakeProcess(id, 1, {});
        process.is_stopped = id == sleeper.Pid() && is_suspended();
        return process;
    };
    look = [&] {
        std::vector<ProcessInfo> processes;
        bool const has_parent = !sleeper.HasEnded();
        if (has_parent) {
            processes.push_back(launcher);
        }
        if (!late.HasEnded() && (!has_parent || is_suspended())) {
            processes.push_back(MakeProcess(late.Pid(), has_parent ? sleeper.Pid() : 1,
                                            {"/bin/sleep", "1000"}));
        }
        return processes;
    };
    count = {200, 101, true};
    EXPECT_TRUE(StopLauncher({{launcher, "main", "/list.json"}, {}}, {},
                             [](std::string const&) {}));
    EXPECT_TRUE(late.HasEnded());
}

class EndFamilyTest : public testing::Test {
  protected:
    Process sleeper{{"/bin/sleep", "1000"}};
};

TEST_F(EndFamilyTest, SignalsNobodyWhoHasTheIdOfAMemberByNow) {
    int looks = 0;
    look = [this, &looks] {
        return ++looks == 1 ? std::vector<ProcessInfo>{Link(sleeper)}
                            : std::vector<ProcessInfo>{};
    };
    find = [this](pid_t /*id*/) {
        ProcessInfo other = Link(sleeper);
        ++other.start;
        return other;
    };
    EXPECT_THAT(EndLeftovers(), testing::IsEmpty());
    EXPECT_FALSE(sleeper.HasEnded());
    EXPECT_NE(StateOf(sleeper.Pid()), 'T');
}

TEST_F(EndFamilyTest, NamesTwentyOfThoseThatItKilledAndCountsTheRest) {
    std::vector<std::string> const command = {"/bin/sleep", "1000"};
    std::vector<std::unique_ptr<Process>> sleepers;
    for (int i = 0; i < 22; ++i) {
        sleepers.push_back(std::make_unique<Process>(command));
    }
    look = [&sleepers, &command] {
        std::vector<ProcessInfo> processes;
        for (auto const& it : sleepers) {
            if (!it->HasEnded()) {
                processes.push_back(MakeProcess(it->Pid(), 1, command));
            }
        }
        return processes;
    };
    find = [&command](pid_t id) { return MakeProcess(id, 1, command); };
    std::vector<std::string> const said =
        EndLeftovers({{{"a", "/bin/sleep", command}}, ""});
    EXPECT_EQ(said.size(), 21U);
    EXPECT_EQ(said.back(), "killed 2 more");
}

// A link of a chain forks the next 50 ms after the last one has ended.
TEST_F(EndFamilyTest, LooksLongEnoughToSeeTheNextLinkOfAChain) {
    auto const begin = Clock::now();
    look = [this, begin] {
        bool const is_there =
            Clock::now() - begin >= milliseconds(80) && !sleeper.HasEnded();
        return is_there ? std::vector<ProcessInfo>{Link(sleeper)}
                        : std::vector<ProcessInfo>{};
    };
    find = [this](pid_t /*id*/) { return Link(sleeper); };
    EXPECT_THAT(EndLeftovers(),
                testing::ElementsAre(testing::StartsWith("killed 1 fork")));
    EXPECT_TRUE(sleeper.HasEnded());
}

}  // namespace
}  // namespace launcher_stop
