#include "tools/launchlist_export/exported_list.h"

#include <gmock/gmock.h>

namespace launchlist_export {
namespace {

using running::LaunchItem;
using running::LaunchItems;
using testing::ElementsAre;

LaunchItem Item(std::string const& name, std::vector<std::string> const& arguments) {
    return {name, arguments[0], arguments};
}

std::vector<std::string> IdentifiersOf(std::vector<std::string> const& names) {
    LaunchItems list;
    for (std::string const& name : names) {
        list.items.push_back(Item(name, {"/p"}));
    }
    std::vector<std::string> identifiers;
    for (ExportedItem const& item : MakeExportedList(list).items) {
        identifiers.push_back(item.identifier);
    }
    return identifiers;
}

ExportedItem Exported(std::vector<std::string> const& arguments) {
    LaunchItems list;
    list.items.push_back(Item("a", arguments));
    return MakeExportedList(list).items.at(0);
}

TEST(ExportedList, IdentifiersHaveLowerCaseLettersDigitsAndSingleDashesBetween) {
    EXPECT_THAT(IdentifiersOf({"My agent_7", "--a--\n/b]--", "\xC3\xA9z", "az09AZ"}),
                ElementsAre("my-agent-7", "a-b", "z", "az09az"));
}

TEST(ExportedList, EachIdentifierIsThereOnce) {
    EXPECT_THAT(IdentifiersOf({"a", "A", "a-2", "a.", "", "--"}),
                ElementsAre("a", "a-2", "a-2-2", "a-3", "item", "item-2"));
}

TEST(ExportedList, ALongIdentifierIsCutAndEndsWithoutADash) {
    std::string const name = std::string(47, 'a') + "-b";
    EXPECT_THAT(IdentifiersOf({name, name}),
                ElementsAre(std::string(47, 'a'), std::string(47, 'a') + "-2"));
    EXPECT_THAT(IdentifiersOf({std::string(49, 'a')}), ElementsAre(std::string(48, 'a')));
}

TEST(ExportedList, WhatTheLauncherWouldNotStartIsNamed) {
    LaunchItems list;
    list.items = {{"a", "", {}}, {"b", "/p", {}}, {"c", "/p", {"/p", "x"}}};
    list.skipped = {"item 7 has no name"};
    ExportedList const exported = MakeExportedList(list);
    ASSERT_EQ(exported.items.size(), 1U);
    EXPECT_EQ(exported.items[0].name, "c");
    EXPECT_THAT(exported.items[0].arguments, ElementsAre("/p", "x"));
    EXPECT_THAT(exported.not_started,
                ElementsAre("item 7 has no name", "item \"a\" has no program",
                            "item \"b\" has a wrong \"argc\" or \"args\""));
}

TEST(ExportedList, AProgramGetsTenSecondsToEndOrTheGraceOfLaunchWithAndFive) {
    std::string const with = "/usr/bin/launch-with";
    EXPECT_EQ(Exported({"/p", "--grace", "20", "--", "/q"}).stop_seconds, 10);
    EXPECT_EQ(Exported({with, "--grace", "20.001", "--", "/q"}).stop_seconds, 26);
    EXPECT_EQ(Exported({with, "/q"}).stop_seconds, 15);
    EXPECT_EQ(Exported({with, "--grace", "x", "--", "/q"}).stop_seconds, 10);
    EXPECT_TRUE(Exported({with, "/q"}).has_launch_with);
    EXPECT_FALSE(Exported({"/p"}).has_launch_with);
}

TEST(FindCommonProblem, IsARelativePathOrAnEmptyVector) {
    EXPECT_EQ(FindCommonProblem(Exported({"/p", "x"})), "");
    EXPECT_EQ(FindCommonProblem(Exported({"bin/p"})),
              "its program is a relative path, and the engine has another working "
              "directory");
    LaunchItems list;
    list.items = {{"a", "/p", {""}}};
    EXPECT_EQ(FindCommonProblem(MakeExportedList(list).items.at(0)),
              "\"argc\" is negative, so the program gets no argument vector");
}

TEST(InComment, EndsNoCommentOfAnyFormat) {
    EXPECT_EQ(InComment("a\n[b]\x7F\xFF"), R"("a\x0A[b]\x7F\xFF")");
    EXPECT_EQ(InComment(std::string(1'000'000, 'a')).size(), 200 - 1 + 3U)
        << "an ellipsis";
    EXPECT_EQ(InComment("-->---"), R"("-\x2D>-\x2D-")");
    EXPECT_EQ(InComment("\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF"),
              "\"\xEF\xBF\xBD\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF\"");
}

}  // namespace
}  // namespace launchlist_export
