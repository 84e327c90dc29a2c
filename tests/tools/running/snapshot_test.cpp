#include <gmock/gmock.h>

#include "tests/tools/running/processes.h"

namespace running {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<pid_t> IdsOf(std::vector<ProcessInfo const*> const& processes) {
    std::vector<pid_t> ids;
    for (ProcessInfo const* const process : processes) {
        ids.push_back(process->id);
    }
    return ids;
}

TEST(Snapshot, FollowsChildrenDownAndParentsUpAndLeavesZombiesOut) {
    ProcessInfo zombie = MakeProcess(13, 11, {});
    zombie.is_zombie = true;
    Snapshot const snapshot({MakeProcess(14, 12, {}), MakeProcess(11, 10, {}), zombie,
                             MakeProcess(12, 11, {}), MakeProcess(15, 13, {})});
    EXPECT_THAT(IdsOf(snapshot.ChildrenOf(11)), ElementsAre(12));
    EXPECT_THAT(IdsOf(snapshot.DescendantsOf(11)), ElementsAre(12, 14));
    EXPECT_THAT(IdsOf(snapshot.AncestorsOf(*snapshot.Find(14))), ElementsAre(12, 11));
    EXPECT_THAT(IdsOf(snapshot.DescendantsOf(14)), IsEmpty());
}

TEST(Snapshot, FindsAProcessByItsStartToo) {
    Snapshot const snapshot({MakeProcess(11, 10, {})});
    EXPECT_NE(snapshot.Find(ProcessKey(11, 11)), nullptr);
    EXPECT_EQ(snapshot.Find(ProcessKey(11, 10)), nullptr);
}

TEST(Snapshot, AnOrphanHasAParentOutsideOfTheSessionItWasBornInto) {
    Snapshot const snapshot({MakeProcess(2, 1, {}, 2), MakeProcess(11, 10, {}, 10),
                             MakeProcess(12, 11, {}, 10), MakeProcess(13, 2, {}, 10),
                             MakeProcess(14, 11, {}, 14), MakeProcess(15, 9, {}, 10),
                             MakeProcess(16, 1, {}, 16)});
    EXPECT_FALSE(snapshot.IsOrphan(*snapshot.Find(12)));  // a child
    EXPECT_TRUE(snapshot.IsOrphan(*snapshot.Find(13)));   // adopted by a subreaper
    EXPECT_FALSE(snapshot.IsOrphan(*snapshot.Find(14)));  // has made a session
    EXPECT_TRUE(snapshot.IsOrphan(*snapshot.Find(15)));   // the parent is gone
    EXPECT_TRUE(snapshot.IsOrphan(*snapshot.Find(16)));   // adopted by the first process
}

}  // namespace
}  // namespace running
