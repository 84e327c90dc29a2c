// What the system refuses to launch-with.

#include <cerrno>

#include "tests/support/linux/refuse_call.h"
#include "tests/tools/launch_with/fixture.h"

namespace {

TEST_F(LaunchWith, EndsWithTheReasonIfItsProgramCannotHaveTheSurroundings) {
    auto const refuse = [](unsigned number) {
        return [number] { RefuseCall(number, EPERM); };
    };
    EXPECT_EQ(
        Run({"--output", File("nice"), "--nice", "-1"}, "", refuse(SYS_setpriority)),
        "exit 125");
    EXPECT_EQ(Content("nice"), "launch-with: --nice: Operation not permitted\n");
    EXPECT_EQ(
        Run({"--output", File("limit"), "--limit", "core=0"}, "", refuse(SYS_prlimit64)),
        "exit 125");
    EXPECT_EQ(Content("limit"), "launch-with: --limit core=0: Operation not permitted\n");
}

}  // namespace
