#include "platform/user_processes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "tests/support/process.h"

namespace {

// Says whether the limited user, limited to 40, is told to have that many processes.
bool HasRunning(long count) {
    std::optional<UserProcesses> const processes = CountUserProcesses();
    return processes && processes->limit == 40 && processes->running == count;
}

TEST(UserProcesses, RootHasNoLimit) {
    EXPECT_FALSE(CountUserProcesses().has_value());
}

TEST(UserProcesses, CountsThisProcessItsThreadsAndOthersOfTheUser) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    Process tester([] {
        BecomeLimitedUser(40);
        std::optional<UserProcesses> const first = CountUserProcesses();
        if (!first || first->limit != 40) {
            return 1;
        }
        std::promise<void> end;
        std::thread thread([future = end.get_future()]() mutable { future.wait(); });
        bool const counts_thread = HasRunning(first->running + 1);
        Process const other([] { return pause(); });
        bool const counts_process = HasRunning(first->running + 2);
        end.set_value();
        thread.join();
        return first->running < 3 && counts_thread && counts_process ? 0 : 2;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST(UserProcesses, AnItemTakesAThreadAndAProcess) {
    EXPECT_EQ(ProcessesOfAnItem(), 2);
}

}  // namespace
