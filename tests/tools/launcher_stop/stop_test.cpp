// The end of what a launcher has left, with a process table that the tests make.

#include "tools/launcher_stop/stop.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <optional>

#include "common/config/log.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "tests/tools/running/processes.h"

ILog* logger = nullptr;

namespace {

// The processes that a look at the system shows, and who has the id of one.
std::function<std::vector<ProcessInfo>()> look;
std::function<std::optional<ProcessInfo>(pid_t id)> find;

}  // namespace

std::vector<ProcessInfo> ReadProcesses() {
    return look();
}

std::optional<ProcessInfo> ReadProcess(pid_t id) {
    return find(id);
}

std::vector<ThreadInfo> ReadThreads(pid_t /*id*/) {
    return {};
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

// Ends what launchers with /list.json have left. Returns the lines that it says.
std::vector<std::string> EndLeftovers() {
    std::vector<std::string> said;
    running::Family family("/list.json", {}, 1000, {});
    EXPECT_TRUE(
        EndFamily(family, [&said](std::string const& line) { said.push_back(line); }));
    return said;
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
