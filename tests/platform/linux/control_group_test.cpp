#include "platform/linux/control_group.h"

#include <gtest/gtest.h>

#include "harness/files.h"

namespace {

class TightestGroupTest : public testing::Test {
  protected:
    // Makes a group, with its limit and how many processes it has.
    void MakeGroup(std::string const& path, std::string const& limit,
                   std::string const& running) const {
        WriteFile(mounts.Path() / path / "pids.max", limit + "\n");
        WriteFile(mounts.Path() / path / "pids.current", running + "\n");
    }

    // Returns "LIMIT RUNNING"; "none" without a limit.
    std::string Tightest(std::string const& groups) const {
        std::optional<UserProcesses> const found = TightestGroup(groups, mounts.Path());
        EXPECT_TRUE(!found || found->is_of_group);
        return found ? std::to_string(found->limit) + " " + std::to_string(found->running)
                     : "none";
    }

    TempDirectory mounts;
};

TEST_F(TightestGroupTest, OfVersion2IsTheOneWithTheLeastRoomOnTheWayUp) {
    MakeGroup("a/b/c", "max", "7");
    MakeGroup("a/b", "50", "8");
    MakeGroup("a", "60", "30");
    MakeGroup("x", "1", "1");
    EXPECT_EQ(Tightest("0::/a/b/c\n"), "60 30");
    EXPECT_EQ(Tightest("0::/a/b\n"), "60 30");
    EXPECT_EQ(Tightest("0::/y\n"), "none");
}

TEST_F(TightestGroupTest, OfVersion1IsBelowTheMountOfItsController) {
    MakeGroup("pids/a", "40", "2");
    MakeGroup("cpu/a", "1", "1");
    EXPECT_EQ(Tightest("9:cpu:/a\n8:pids:/a\n1:name=systemd:/a\n0::/a\n"), "40 2");
    EXPECT_EQ(Tightest("9:cpu:/a\n"), "none");
}

// In a container the path may be that on the machine, and what is mounted is the group.
TEST_F(TightestGroupTest, HasTheMountItself) {
    MakeGroup(".", "30", "3");
    EXPECT_EQ(Tightest("0::/\n"), "30 3");
    EXPECT_EQ(Tightest("0::/docker/4711\n"), "30 3");
}

TEST_F(TightestGroupTest, SkipsWhatItCannotRead) {
    MakeGroup("a", "many", "2");
    for (std::string const groups :
         {"", "\n", "0\n", "0:\n", "0::", "0::/a", "0::/../a\n"}) {
        EXPECT_EQ(Tightest(groups), "none") << groups;
    }
}

TEST(TighterOf, IsTheOneWithLessRoom) {
    UserProcesses const tight = {20, 15};
    UserProcesses const wide = {10, 1};
    EXPECT_EQ(TighterOf(tight, wide)->limit, 20);
    EXPECT_EQ(TighterOf(wide, tight)->limit, 20);
    EXPECT_EQ(TighterOf(wide, std::nullopt)->limit, 10);
    EXPECT_EQ(TighterOf(std::nullopt, wide)->limit, 10);
    EXPECT_FALSE(TighterOf(std::nullopt, std::nullopt));
}

}  // namespace
