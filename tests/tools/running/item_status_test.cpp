#include "tools/running/item_status.h"

#include <gmock/gmock.h>

#include <map>

#include "tests/tools/running/processes.h"

namespace running {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

LaunchItem MakeItem(std::string const& name, std::vector<std::string> const& arguments) {
    return {name, arguments.empty() ? "" : arguments[0], arguments};
}

// A launcher with a list, and what its log says.
class ItemStatusTest : public testing::Test {
  protected:
    // Returns "a running 101", "b chain 102", ... for each item; "~" before a number that
    // is not certain.
    std::vector<std::string> Match() {
        processes.push_back(launcher.process);
        LogAnswers const log = {
            [this](std::string const& item) { return item == given_up; },
            [this](pid_t link) { return items_of_links[link]; }};
        status = StatusOf(Snapshot(processes), launcher, {items, ""}, log);
        std::vector<std::string> texts;
        for (ItemStatus const& it : status.items) {
            texts.push_back(it.item.name + " " + Describe(it.state) + " " +
                            (it.is_certain ? "" : "~") + std::to_string(it.process.id));
        }
        return texts;
    }

    void AddChild(pid_t id, std::vector<std::string> const& arguments) {
        processes.push_back(MakeProcess(id, 100, arguments, 100));
    }

    // Adds a link of a chain below `parent`. It was forked long ago.
    void AddLink(pid_t id, pid_t parent) {
        processes.push_back(MakeFork(id, parent, launcher.process.arguments, 100));
    }

    Launcher const launcher = MakeLauncher();
    std::vector<LaunchItem> items = {MakeItem("a", {"/bin/sh", "-c", "exec /a -x"}),
                                     MakeItem("b", {"/bin/sh", "-c", "b"})};
    std::vector<ProcessInfo> processes;
    std::string given_up;
    std::map<pid_t, std::string> items_of_links;
    LauncherStatus status;
};

TEST_F(ItemStatusTest, AProgramIsKnownByItsCommandWhateverTheOrder) {
    AddChild(101, {"/bin/sh", "-c", "b"});
    AddChild(102, {"/bin/sh", "-c", "exec /a -x"});
    EXPECT_THAT(Match(), ElementsAre("a running 102", "b running 101"));
    EXPECT_EQ(status.not_running, 0U);
}

TEST_F(ItemStatusTest, AnItemWithoutAChildWaitsUnlessItIsGivenUp) {
    given_up = "b";
    // It is no child of the launcher.
    processes.push_back(MakeProcess(101, 10, {"/bin/sh", "-c", "b"}));
    EXPECT_THAT(Match(),
                ElementsAre("a waiting to be started 0", "b given up: a fork failed 0"));
    EXPECT_EQ(status.not_running, 2U);
}

TEST_F(ItemStatusTest, AZombieDoesNotRun) {
    AddChild(101, {"/bin/sh", "-c", "b"});
    processes.back().is_zombie = true;
    EXPECT_THAT(Match(),
                ElementsAre("a waiting to be started 0", "b waiting to be started 0"));
}

TEST_F(ItemStatusTest, AShellThatReplacedItselfIsKnownByTheCommandAfterExec) {
    items.push_back(MakeItem("c", {"/c"}));
    AddChild(101, {"/a", "-x"});
    EXPECT_THAT(Match(), ElementsAre("a running 101", "b waiting to be started 0",
                                     "c waiting to be started 0"));
}

TEST_F(ItemStatusTest, TheLastUnknownChildBelongsToTheLastItem) {
    AddChild(101, {"/bin/sh", "-c", "exec /a -x"});
    AddChild(102, {"/unknown"});
    EXPECT_THAT(Match(), ElementsAre("a running 101", "b running 102"));
}

TEST_F(ItemStatusTest, AnUnknownChildOfTwoItemsTellsOnlyThatOneDoesNotRun) {
    AddChild(101, {"/unknown"});
    EXPECT_THAT(Match(), ElementsAre("a cannot tell 0", "b cannot tell 0"));
    EXPECT_EQ(status.not_running, 1U);
}

TEST_F(ItemStatusTest, ItemsWithTheSameCommandRunIfThereAreAsManyChildren) {
    items = {MakeItem("a", {"/p"}), MakeItem("b", {"/p"})};
    AddChild(101, {"/p"});
    EXPECT_THAT(Match(), ElementsAre("a cannot tell 0", "b cannot tell 0"));
    EXPECT_EQ(status.not_running, 1U);
    AddChild(102, {"/p"});
    EXPECT_THAT(Match(), ElementsAre("a running ~101", "b running ~102"));
    EXPECT_EQ(status.not_running, 0U);
}

TEST_F(ItemStatusTest, AnItemWithoutArgumentsHasNoProgram) {
    items[1] = MakeItem("b", {});
    AddChild(101, {"/unknown"});
    EXPECT_THAT(Match(), ElementsAre("a running 101", "b no program 0"));
    EXPECT_EQ(status.not_running, 1U);
}

TEST_F(ItemStatusTest, AChainBelongsToTheItemWhoseProgramCannotBeExecuted) {
    items[1] = MakeItem("b", {"/no/program"});
    AddLink(101, 100);
    AddLink(102, 101);
    EXPECT_THAT(Match(), ElementsAre("a waiting to be started 0", "b in a chain 0"));
    EXPECT_EQ(status.items[1].links, 2U);
    EXPECT_EQ(status.not_running, 2U);
}

TEST_F(ItemStatusTest, AChainBelongsToTheItemThatItsFirstLinkHasLogged) {
    items_of_links[101] = "a";
    AddLink(101, 100);
    EXPECT_THAT(Match(), ElementsAre("a in a chain 0", "b waiting to be started 0"));
}

TEST_F(ItemStatusTest, AChainIsKnownByTheProgramThatItsLastLinkRuns) {
    AddLink(101, 100);
    processes.push_back(MakeProcess(102, 101, {"/bin/sh", "-c", "b"}, 100));
    EXPECT_THAT(Match(), ElementsAre("a waiting to be started 0", "b in a chain 102"));
    EXPECT_EQ(status.items[1].links, 1U);
}

TEST_F(ItemStatusTest, AChainOfSeveralItemsTellsNothing) {
    AddLink(101, 100);
    EXPECT_THAT(Match(), ElementsAre("a cannot tell 0", "b cannot tell 0"));
    EXPECT_EQ(status.not_running, 2U);
}

TEST_F(ItemStatusTest, AForkThatIsAboutToExecuteIsNoChain) {
    AddLink(101, 100);
    processes.back().start_time = 1LL << 60U;
    EXPECT_THAT(Match(),
                ElementsAre("a waiting to be started 0", "b waiting to be started 0"));
}

TEST_F(ItemStatusTest, BelowLaunchWithTheProgramIsShownAndAllIsAddedUp) {
    std::vector<std::string> const command = {kLaunchWith, "--", "/p"};
    items = {MakeItem("a", command)};
    AddChild(101, command);
    EXPECT_THAT(Match(), ElementsAre("a waiting to be started 0"));
    processes.push_back(MakeFork(102, 101, command, 102));
    processes.push_back(MakeProcess(103, 102, {"/p"}, 102));
    processes.back().group = 103;
    processes.push_back(MakeProcess(104, 103, {"/q"}, 102));
    for (ProcessInfo& process : processes) {
        process.memory = 1000;
        process.cpu_time = 7;
    }
    EXPECT_THAT(Match(), ElementsAre("a running 103"));
    EXPECT_EQ(status.items[0].memory, 4000);
    EXPECT_EQ(status.items[0].cpu_time, 28);
}

TEST(LeftBehind, NamesTheProgramsOfItemsAndThoseThatAWatcherEnds) {
    std::vector<std::string> const command = {kLaunchWith, "--", "/p"};
    LaunchItems const list = {{MakeItem("a", {"/a"}), MakeItem("w", command)}, ""};
    ProcessInfo program = MakeProcess(4, 3, {"/p"}, 3);
    program.group = 4;
    Snapshot const snapshot({MakeProcess(2, 1, {"/a"}), MakeFork(3, 1, command, 3),
                             program, MakeProcess(5, 1, command)});
    std::vector<ProcessInfo const*> left;
    for (ProcessInfo const& process : snapshot.All()) {
        left.push_back(&process);
    }
    std::vector<ItemStatus> const found = LeftBehind(snapshot, list, left);
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].item.name + std::to_string(found[0].process.id), "a2");
    EXPECT_EQ(found[1].item.name + std::to_string(found[1].process.id), "w4");
}

}  // namespace
}  // namespace running
