#include "tools/running/family.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/tools/running/processes.h"

namespace running {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

LaunchItems const kItems = {{{"a", "/a", {"/a", "x"}}}, ""};

// The launcher 100, and processes whose ids are above 100.
class FamilyTest : public testing::Test {
  protected:
    // Returns the members among the processes and the launcher.
    std::vector<pid_t> Members(std::vector<ProcessInfo> processes) {
        processes.push_back(MakeProcess(10, 1, {"/bin/sh"}, 10));
        if (is_running) {
            processes.push_back(launcher.process);
        }
        return MembersWithoutLauncher(std::move(processes));
    }

    std::vector<pid_t> MembersWithoutLauncher(std::vector<ProcessInfo> processes) {
        Snapshot const snapshot(std::move(processes));
        family.Follow(snapshot);
        std::vector<pid_t> ids;
        for (ProcessInfo const* const member : family.MembersIn(snapshot)) {
            ids.push_back(member->id);
        }
        return ids;
    }

    // Returns a launcher that runs besides, with the same items, and is as old as its id
    // is small.
    static LauncherWithItems Another(pid_t id) {
        Launcher other = MakeLauncher();
        other.process.id = id;
        other.process.start = static_cast<unsigned long long>(id);
        return {other, kItems};
    }

    // A launcher that shares the session and the process group of a shell.
    static Launcher InSessionOfAShell() {
        Launcher launcher = MakeLauncher();
        launcher.process.session = 10;
        launcher.process.group = 10;
        return launcher;
    }

    Launcher launcher = InSessionOfAShell();
    bool is_running = true;
    Family family{{launcher, kItems}, {}};
};

TEST_F(FamilyTest, HasWhatDescendsFromTheLauncherAndKeepsItAfterTheLaunchersDeath) {
    EXPECT_THAT(Members({MakeProcess(101, 100, {"/p"}), MakeProcess(102, 101, {"/q"}),
                         MakeProcess(103, 10, {"/r"})}),
                ElementsAre(101, 102));
    // They are orphans now, one without its parent, and fork on.
    is_running = false;
    EXPECT_THAT(Members({MakeProcess(102, 1, {"/q"}), MakeProcess(104, 102, {"/s"}),
                         MakeProcess(103, 10, {"/r"})}),
                ElementsAre(102, 104));
}

TEST_F(FamilyTest, DoesNotHaveAProcessThatHasTheIdOfAMemberLater) {
    EXPECT_THAT(Members({MakeProcess(101, 100, {"/p"}, 101)}), ElementsAre(101));
    ProcessInfo later = MakeProcess(101, 10, {"/p"}, 101);
    later.start = 500;
    ProcessInfo child = MakeProcess(102, 101, {"/p"}, 101);
    child.start = 501;
    EXPECT_THAT(Members({later, child}), IsEmpty());
}

TEST_F(FamilyTest, HasTheSessionThatAMemberLeads) {
    EXPECT_THAT(Members({MakeProcess(101, 100, {"/p"}, 101)}), ElementsAre(101));
    EXPECT_THAT(Members({MakeProcess(103, 1, {"/q"}, 101)}), ElementsAre(103));
}

TEST_F(FamilyTest, HasOrphansOfTheGroupThatItLeadsAndNotTheRestOfAPipeline) {
    launcher.process.group = 100;
    family = Family({launcher, kItems}, {});
    ProcessInfo orphan = MakeProcess(101, 1, {"/p"});
    orphan.group = 100;
    ProcessInfo next = MakeProcess(102, 10, {"/bin/cat"});
    next.group = 100;
    EXPECT_THAT(Members({orphan, next, MakeProcess(103, 1, {"/p"})}), ElementsAre(101));
}

TEST_F(FamilyTest, DoesNotHaveWhatIsOlderThanTheLauncher) {
    launcher.process.session = 100;
    family = Family({launcher, kItems}, {});
    EXPECT_THAT(Members({MakeProcess(99, 1, {"/a", "x"}, 100)}), IsEmpty());
}

TEST_F(FamilyTest, HasOrphanedForksWithTheSameArguments) {
    std::vector<std::string> const& own = launcher.process.arguments;
    ProcessInfo of_another_user = MakeFork(105, 1, own);
    of_another_user.user = 7;
    EXPECT_THAT(
        Members({MakeFork(101, 1, own),
                 MakeFork(102, 1, {kLauncherFile, "main", "/other.json"}),
                 MakeFork(103, 10, own), MakeProcess(104, 1, own), of_another_user}),
        ElementsAre(101));
}

TEST_F(FamilyTest, HasOrphansThatExecuteAnItem) {
    ProcessInfo of_another_user = MakeProcess(105, 1, {"/a", "x"});
    of_another_user.user = 7;
    EXPECT_THAT(Members({MakeProcess(101, 1, {"/a", "x"}), MakeProcess(102, 1, {"/a"}),
                         MakeProcess(103, 10, {"/a", "x"}), of_another_user}),
                ElementsAre(101));
}

TEST_F(FamilyTest, HasWatchersWithoutTheirPartner) {
    std::vector<std::string> const command = {kLaunchWith, "--", "/p"};
    family = Family({launcher, {{{"w", kLaunchWith, command}}, ""}}, {});
    EXPECT_THAT(
        Members({MakeFork(101, 10, command, 101), MakeProcess(102, 101, {"/p"}, 101),
                 MakeProcess(103, 10, command), MakeFork(104, 103, command, 104)}),
        ElementsAre(101, 102));
}

TEST_F(FamilyTest, LeavesWhatAnOlderLauncherCanHaveStarted) {
    ProcessInfo const program = MakeProcess(102, 1, {"/a", "x"});
    ProcessInfo const link = MakeFork(103, 1, launcher.process.arguments);
    family = Family({launcher, kItems}, {Another(101)});
    EXPECT_THAT(Members({program, link}), IsEmpty());
    family = Family({launcher, kItems}, {Another(110)});
    EXPECT_THAT(Members({program, link}), ElementsAre(102, 103));
}

TEST_F(FamilyTest, NeverHasThisProcessOrOneAboveIt) {
    // This process is a child of a process that was seen below the launcher.
    pid_t const self = getpid();
    ProcessInfo above = MakeProcess(self + 1, 100, {"/bin/sh"});
    above.start = 200;
    ProcessInfo own = MakeProcess(self, above.id, {"launcher-stop"});
    own.start = 201;
    ProcessInfo sibling = MakeProcess(self + 2, 100, {"/p"});
    sibling.start = 202;
    EXPECT_THAT(Members({above, own, sibling}), ElementsAre(sibling.id));
}

TEST_F(FamilyTest, WithoutALauncherHasWhatDiedOnesLeft) {
    is_running = false;
    family = Family("/list.json", kItems, 1000, {});
    EXPECT_THAT(Members({MakeProcess(101, 1, {"/a", "x"}), MakeProcess(102, 101, {"/q"}),
                         MakeFork(103, 1, {kLauncherFile, "any", "/list.json"}),
                         MakeFork(104, 1, {kLauncherFile, "any", "/other.json"}),
                         MakeProcess(105, 1, {"/q"})}),
                ElementsAre(101, 102, 103));
}

TEST_F(FamilyTest, WithoutALauncherLeavesTheChildrenOfOneThatRuns) {
    family = Family("/list.json", kItems, 1000, {{launcher, kItems}});
    EXPECT_THAT(
        Members({MakeProcess(99, 1, {"/a", "x"}), MakeProcess(101, 1, {"/a", "x"}),
                 MakeProcess(102, 100, {"/a", "x"})}),
        ElementsAre(99));
}

}  // namespace
}  // namespace running
