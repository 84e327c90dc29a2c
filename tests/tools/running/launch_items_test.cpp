#include "tools/running/launch_items.h"

#include <gmock/gmock.h>

#include "harness/files.h"
#include "tests/tools/running/processes.h"

namespace running {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

LaunchItems Read(std::string const& text) {
    TempDirectory const folder;
    return ReadLaunchItems(folder.Write("list.json", text));
}

std::vector<std::string> ArgumentsOf(std::string const& members) {
    return Read(R"({"0": {"name": "a", "program": "/p")" + members + "}}")
        .items.at(0)
        .arguments;
}

TEST(ReadLaunchItems, FollowsTheRulesOfTheLauncher) {
    LaunchItems const list = Read(R"({"0": {"name": "a", "program": "/first"},
        "1": {"program": "/nameless"}, "2": {"name": "b"},
        "3": {"name": "a", "program": "/second"}, "5": {"name": "c"}})");
    ASSERT_EQ(list.items.size(), 2U);
    EXPECT_EQ(list.items[0].name, "b");
    EXPECT_THAT(list.items[0].arguments, IsEmpty());
    EXPECT_EQ(list.items[1].program, "/second");
    EXPECT_THAT(list.skipped,
                ElementsAre("item 1 has no name",
                            "an item has the same name as item 3, which replaces it"));
    EXPECT_EQ(list.problem, "");
}

TEST(ReadLaunchItems, SaysWhatIsWrong) {
    EXPECT_EQ(ReadLaunchItems("/no/list.json").problem, "the list cannot be read");
    EXPECT_EQ(Read("{").problem, "the list is not JSON");
    EXPECT_EQ(Read(R"({"0": {"name": {}}})").problem,
              "the list has values of wrong types");
    // The launcher reads no further than the first zero byte.
    std::string cut = R"({"0": {"name": "a-b"}})";
    EXPECT_EQ(Read(cut).problem, "");
    cut[cut.find('-')] = '\0';
    EXPECT_EQ(Read(cut).problem, "the list is not JSON");
}

TEST(ReadLaunchItems, GivesTheArgumentsThatTheLauncherGives) {
    EXPECT_THAT(ArgumentsOf(R"(, "argc": 2, "args": {"1": "x"})"),
                ElementsAre("/p", "", "x"));
    EXPECT_THAT(ArgumentsOf(R"(, "args": {"0": "x"})"), ElementsAre("/p"));
    EXPECT_THAT(ArgumentsOf(R"(, "argc": -1)"), ElementsAre(""));
    EXPECT_THAT(ArgumentsOf(R"(, "argc": 1, "args": ["x"])"), IsEmpty());
}

TEST(ExecutesItem, ComparesAllArguments) {
    LaunchItem const item = {"a", "/p", {"/p", "x", ""}};
    EXPECT_TRUE(ExecutesItem(MakeProcess(2, 1, {"/p", "x", ""}), item));
    EXPECT_FALSE(ExecutesItem(MakeProcess(2, 1, {"/p", "x"}), item));
    EXPECT_FALSE(ExecutesItem(MakeProcess(2, 1, {"/p", "x", "", ""}), item));
    EXPECT_FALSE(ExecutesItem(MakeProcess(2, 1, {"/q", "x", ""}), item));
    EXPECT_FALSE(ExecutesItem(MakeFork(2, 1, {"/p", "x", ""}), item));
    EXPECT_FALSE(ExecutesItem(MakeProcess(2, 1, {}), {"a", "", {}}));
}

TEST(ExecutesItem, LetsTheInterpreterOfAScriptStandBeforeIt) {
    TempDirectory const folder;
    std::string const script = folder.Write("script", "#!/bin/sh -e\n");
    std::string const other = folder.Write("other",
                                           "\x7f"
                                           "ELF");
    EXPECT_TRUE(ExecutesItem(MakeProcess(2, 1, {"/bin/sh", "-e", script, "x"}),
                             {"a", script, {script, "x"}}));
    EXPECT_FALSE(ExecutesItem(MakeProcess(2, 1, {"/usr/bin/env", other, "x"}),
                              {"a", other, {other, "x"}}));
}

TEST(ExecutesItem, ComparesTheFileIfThereAreNoArguments) {
    ProcessInfo process = MakeProcess(2, 1, {""});
    process.program = "/bin/sh";
    EXPECT_TRUE(ExecutesItem(process, {"a", "/bin/sh", {""}}));
    EXPECT_FALSE(ExecutesItem(process, {"a", "/bin/cat", {""}}));
}

TEST(ReplacesItselfBy, FindsTheCommandAfterExecAsAWhole) {
    LaunchItem const item = {
        "a", "/bin/sh", {"/bin/sh", "-c", "cd /; exec /opt/agent -p 70 >>out 2>&1"}};
    EXPECT_TRUE(ReplacesItselfBy(item, MakeProcess(2, 1, {"/opt/agent", "-p", "70"})));
    EXPECT_FALSE(ReplacesItselfBy(item, MakeProcess(2, 1, {"/opt/agent", "-p", "7"})));
    EXPECT_FALSE(ReplacesItselfBy(item, MakeProcess(2, 1, {"cd", "/;"})));
    EXPECT_FALSE(ReplacesItselfBy(item, MakeProcess(2, 1, {})));
    EXPECT_FALSE(ReplacesItselfBy(item, MakeFork(2, 1, {"/opt/agent", "-p", "70"})));
}

}  // namespace
}  // namespace running
