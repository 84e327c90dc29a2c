// What all findings have in common: a place, an order, a length, and how many are shown.

#include "tools/launchlist_check/finding.h"

#include <gtest/gtest.h>

#include "harness/files.h"
#include "tests/tools/launchlist_check/checked.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {
namespace {

TEST(LaunchListCheck, FindingsComeInTheOrderOfTheirPlaces) {
    EXPECT_EQ(CheckAt("{\"10\": {},\n \"9\": {}, \"2\": 7, \"x\": 1}"),
              "list.json:1:2: error: item \"10\": never reached: the launcher stops at "
              "the first number that is missing, \"0\" [unreached]\n"
              "list.json:2:2: error: item \"9\": never reached: the launcher stops at "
              "the first number that is missing, \"0\" [unreached]\n"
              "list.json:2:11: error: item \"2\": never reached: the launcher stops at "
              "the first number that is missing, \"0\" [unreached]\n"
              "list.json:2:19: warning: the key \"x\" is not an item number: the "
              "launcher ignores it [unknown-key]\n");
}

// In each list the place of the finding is marked by "^".
TEST(LaunchListCheck, EveryFindingHasAPlace) {
    struct {
        char const* kind;
        char const* list;
    } const cases[] = {
        {"not-json", R"({"0": {},^})"},
        {"too-deep", ""},
        {"text-behind", R"({"0": {"name": "a", "program": "/bin/sh"}} ^x)"},
        {"not-an-object", "/* list */ ^[]"},
        {"no-items", " ^{}"},
        {"repeated-key", R"({"0": {"name": "a", ^"name": "a", "program": "/bin/sh"}})"},
        {"unreached", R"({^"1": {}})"},
        {"key-number", R"({"0": {"name": "a", "program": "/bin/sh"}, ^"01": {}})"},
        {"unknown-key", R"({"0": {"name": "a", "program": "/bin/sh"}, ^"x" : {}})"},
        {"item-type", R"({"0": ^null})"},
        {"no-name", R"({^"0": {"program": "/bin/sh"}})"},
        {"name-type", R"({"0": {"name": ^7, "program": "/bin/sh"}})"},
        {"empty-name", R"({"0": {"name": ^"", "program": "/bin/sh"}})"},
        {"name-characters", R"({"0": {"name": ^"\t", "program": "/bin/sh"}})"},
        {"name-encoding", R"({"0": {"name": ^"\udc00", "program": "/bin/sh"}})"},
        {"duplicate-name",
         R"({"1": {"name": ^"a", "program": "/bin/sh"},
             "0": {"name": "a", "program": "/bin/sh"}})"},
        {"no-program", R"({^"0": {"name": "a"}})"},
        {"program-type", R"({"0": {"name": "a", "program": ^[]}})"},
        {"relative-program", R"({"0": {"name": "a", "program": ^"sh"}})"},
        {"program-file", R"({"0": {"name": "a", "program": ^"/nothing/here"}})"},
        {"argc-type", R"({"0": {"name": "a", "program": "/bin/sh", "argc": ^"1"}})"},
        {"argc-value", R"({"0": {"name": "a", "program": "/bin/sh", "argc": ^0.5}})"},
        {"argc-negative", R"({"0": {"name": "a", "program": "/bin/sh", "argc": ^-1}})"},
        {"argc-too-large",
         R"({"0": {"name": "a", "program": "/bin/sh", "argc": ^1048576}})"},
        {"args-type", R"({"0": {"name": "a", "program": "/bin/sh", "args": ^[]}})"},
        {"missing-arguments",
         R"({"0": {"name": "a", "program": "/bin/sh", "argc": ^1}})"},
        {"ignored-arguments",
         R"({"0": {"name": "a", "program": "/bin/sh", "argc": 1, "args": {"10": "x", ^"9": "x", "0": "x"}}})"},
        {"argument-key",
         R"({"0": {"name": "a", "program": "/bin/sh", "args": {^"01": "x"}}})"},
        {"argument-type",
         R"({"0": {"name": "a", "program": "/bin/sh", "argc": 1, "args": {"0": ^1}}})"},
        {"zero-character", R"({"0": {"name": ^"a\u0000", "program": "/bin/sh"}})"},
        {"unknown-member", R"({"0": {"name": "a", "program": "/bin/sh", ^"x": 1}})"}};
    for (auto const& [kind, marked] : cases) {
        std::string list = marked;
        std::size_t place = list.find('^');
        if (place == std::string::npos) {
            list = std::string(1001, '[') + std::string(1001, ']');
            place = 999;
        } else {
            list.erase(place, 1);
        }
        std::vector<Finding> const findings = CheckLaunchList(list).findings.InOrder();
        ASSERT_EQ(findings.size(), 1U) << list;
        EXPECT_EQ(findings[0].kind, kind);
        EXPECT_EQ(findings[0].position.line, 1);
        EXPECT_EQ(findings[0].position.column, static_cast<int>(place) + 1) << list;
    }
}

TEST(LaunchListCheck, OfManyFindingsOfOneKindTheFirstAreShownAndAllAreCounted) {
    std::string list = R"({"0": {"name": "a", "program": "/bin/sh")";
    for (int i = 0; i < 1020; ++i) {
        list += ",\n\"x" + std::to_string(i) + "\": 1";
    }
    list += R"(, "argc": 1, "args": {"0": 7}}})";
    CheckResult const result = CheckLaunchList(list);
    EXPECT_EQ(result.findings.Count(Severity::Warning), 1021U);
    std::vector<std::string> const lines = Lines(ToLines({"list.json", result}));
    ASSERT_EQ(lines.size(), 23U);
    EXPECT_EQ(lines[0].substr(0, 16), "list.json:2:1: w");
    EXPECT_EQ(lines[20],
              "list.json:1021:38: warning: item \"0\" (a): argument \"0\" is a number: "
              "the launcher takes it as \"7\" [argument-type]");
    EXPECT_EQ(
        lines[21],
        "list.json: ... and 1,000 more warnings [unknown-member]; --all shows them");
    EXPECT_EQ(lines[22], "list.json: ok, 1 program, 1,021 warnings");
    CheckOptions all;
    all.most_of_a_kind = 2000;
    EXPECT_EQ(Lines(ToLines({"list.json", CheckLaunchList(list, all)})).size(), 1022U);
}

TEST(LaunchListCheck, ErrorsAndWarningsOfOneKindAreCappedApart) {
    std::string list = "{";
    for (int i = 0; i < 21; ++i) {
        list += "\"" + std::to_string(i) + R"(": {"name": )" + std::to_string(i) +
                ", \"program\": \"/bin/sh\"},\n";
    }
    list += R"("21": {"name": []}})";
    EXPECT_EQ(Lines(ToLines({"list.json", CheckLaunchList(list)})).size(), 23U);
    EXPECT_NE(ToLines({"list.json", CheckLaunchList(list)})
                  .find("... and 1 more warning [name-type]"),
              std::string::npos);
}

TEST(LaunchListCheck, LongTextsAreCutInFindings) {
    std::string const name(500, 'n');
    std::string const line =
        Check(ItemOf(R"("name": ")" + name + R"(", "program": "/bin/sh", ")" +
                     std::string(199, 'k') + "\xC3\xA9k\": 1"));
    EXPECT_EQ(line, "list.json: warning: item \"0\" (" + name.substr(0, 200) +
                        "...): the member \"" + std::string(199, 'k') +
                        "...\" means nothing to the launcher [unknown-member]\n");
}

}  // namespace
}  // namespace launchlist_check
