#include "tools/running/watcher.h"

#include <gmock/gmock.h>

#include "tests/tools/running/processes.h"

namespace running {
namespace {

using std::chrono::milliseconds;

TEST(GraceOf, ReadsTheOptionsOfLaunchWith) {
    auto const grace = [](std::vector<std::string> const& arguments) {
        return GraceOf(MakeFork(2, 1, arguments));
    };
    EXPECT_EQ(grace({kLaunchWith, "--grace", "2.5", "--", "/p"}), milliseconds(2500));
    EXPECT_EQ(grace({kLaunchWith, "--grace=3", "--", "/p"}), milliseconds(3000));
    EXPECT_EQ(grace({kLaunchWith, "--", "/p", "--grace=3"}), milliseconds(10'000));
    EXPECT_EQ(grace({}), milliseconds(10'000));
}

TEST(ProgramOfPartner, IsTheChildOfTheWatcherThatLeadsAGroup) {
    std::vector<std::string> const command = {kLaunchWith, "--", "/p"};
    ProcessInfo program = MakeProcess(4, 3, {"/p"}, 3);
    Snapshot const starting({MakeProcess(2, 1, command), MakeFork(3, 2, command, 3),
                             MakeFork(4, 3, command, 3)});
    EXPECT_EQ(ProgramOfPartner(starting, *starting.Find(2)), nullptr);
    program.group = 4;
    ProcessInfo const escaped = MakeProcess(5, 3, {"/q"}, 3);
    Snapshot const running(
        {MakeProcess(2, 1, command), MakeFork(3, 2, command, 3), program, escaped});
    EXPECT_EQ(ProgramOfPartner(running, *running.Find(2))->id, 4);
    EXPECT_EQ(ProgramOfPartner(running, *running.Find(4)), nullptr);
}

TEST(IsWatcher, IsTrueForAForkOfThePartnerInASessionOfItsOwn) {
    std::vector<std::string> const command = {kLaunchWith, "--", "/p"};
    EXPECT_TRUE(IsWatcher(MakeFork(3, 2, command, 3)));
    EXPECT_FALSE(IsWatcher(MakeFork(3, 2, command, 10)));
    EXPECT_FALSE(IsWatcher(MakeProcess(3, 2, command, 3)));
    EXPECT_FALSE(IsWatcher(MakeFork(3, 2, {"/usr/bin/watch-with"}, 3)));
}

}  // namespace
}  // namespace running
