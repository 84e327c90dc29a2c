#include "tools/running/launcher.h"

#include <gmock/gmock.h>

#include "harness/files.h"
#include "tests/tools/running/processes.h"

namespace running {
namespace {

using testing::ElementsAre;

std::vector<pid_t> Found(std::vector<ProcessInfo> processes, uid_t user) {
    std::vector<pid_t> ids;
    for (Launcher const& launcher : FindLaunchers(Snapshot(std::move(processes)), user)) {
        ids.push_back(launcher.process.id);
    }
    return ids;
}

TEST(IsLauncherFile, IsTrueForTheLauncherOfABundleAlone) {
    EXPECT_TRUE(IsLauncherFile("/Applications/Tamlin.app/Contents/MacOS/launcher"));
    EXPECT_FALSE(IsLauncherFile("/usr/bin/launcher"));
    EXPECT_FALSE(IsLauncherFile("/a/Tamlin.app/Contents/MacOS/launcher2"));
    EXPECT_FALSE(IsLauncherFile("/a/NoTamlin.app/Contents/MacOS/launcher"));
}

TEST(FindLaunchers, LeavesOutForksZombiesAndThoseWithoutAList) {
    ProcessInfo zombie = MakeProcess(5, 1, {kLauncherFile, "a", "/a"});
    zombie.is_zombie = true;
    ProcessInfo named = MakeProcess(6, 1, {kLauncherFile, "a", "/a"});
    named.program = "/usr/bin/other";
    EXPECT_THAT(Found({MakeProcess(2, 1, {kLauncherFile, "a", "/a"}),
                       MakeFork(3, 2, {kLauncherFile, "a", "/a"}),
                       MakeProcess(4, 1, {kLauncherFile, "a"}), zombie, named},
                      1000),
                ElementsAre(2));
}

TEST(FindLaunchers, FindsThoseOfOtherUsersForRootAlone) {
    ProcessInfo const launcher = MakeProcess(2, 1, {kLauncherFile, "a", "/a"});
    EXPECT_THAT(Found({launcher}, 1001), ElementsAre());
    EXPECT_THAT(Found({launcher}, 0), ElementsAre(2));
}

TEST(IsSameList, ComparesFilesAndWithoutFilesPaths) {
    TempDirectory const folder;
    std::string const file = folder.Write("list.json", "");
    std::string const link = folder.Path() / "link.json";
    std::filesystem::create_hard_link(file, link);
    EXPECT_TRUE(IsSameList(file, link));
    EXPECT_FALSE(IsSameList(file, folder.Write("other.json", "")));
    EXPECT_TRUE(IsSameList("/no/where/../list.json", "/no/list.json"));
    EXPECT_FALSE(IsSameList("/no/where/list.json", "/no/list.json"));
}

}  // namespace
}  // namespace running
