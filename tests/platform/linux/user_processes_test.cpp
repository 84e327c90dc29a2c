#include "platform/user_processes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <future>
#include <thread>

#include "harness/proc.h"
#include "harness/process.h"
#include "harness/wait_for.h"
#include "tests/support/limited_user.h"

namespace {

// Returns whether CountProcessesOf says that the user has that many processes, of 40.
bool HasRunning(long count) {
    std::optional<UserProcesses> const processes = CountProcessesOf(getpid());
    return processes && processes->limit == 40 && processes->running == count;
}

TEST(UserProcesses, RootHasNoLimitButThatOfAGroup) {
    std::optional<UserProcesses> const processes = CountProcessesOf(getpid());
    EXPECT_TRUE(!processes || processes->is_of_group);
}

TEST(UserProcesses, CountsThisProcessItsThreadsAndOthersOfTheUser) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    Process tester([] {
        BecomeLimitedUser(40);
        std::promise<void> end;
        std::shared_future<void> const ended = end.get_future().share();
        auto const wait = [ended] { ended.wait(); };
        // ThreadSanitizer starts a thread of its own with the first one.
        std::thread first_thread(wait);
        // This is the only process of the user.
        std::optional<UserProcesses> const first = CountProcessesOf(getpid());
        bool const counts_own =
            first && first->running == ProcNumber(getpid(), "status", "Threads");
        if (!first || first->limit != 40) {
            std::_Exit(1);
        }
        std::thread thread(wait);
        bool const counts_thread = HasRunning(first->running + 1);
        Process const other([] { return pause(); });
        bool const counts_process = HasRunning(first->running + 2);
        end.set_value();
        first_thread.join();
        thread.join();
        return counts_own && counts_thread && counts_process ? 0 : 2;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST(UserProcesses, AreThoseOfTheUserOfTheOtherProcessWithItsLimit) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    Process const other([] {
        BecomeLimitedUser(40);
        return pause();
    });
    EXPECT_TRUE(WaitFor([&other] {
        std::optional<UserProcesses> const processes = CountProcessesOf(other.Pid());
        return processes && processes->limit == 40 &&
               processes->running == ProcNumber(other.Pid(), "status", "Threads");
    }));
}

TEST(UserProcesses, AnItemTakesAThreadAndAProcess) {
    EXPECT_EQ(ProcessesOfAnItem(), 2);
}

}  // namespace
