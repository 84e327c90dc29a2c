// Findings about the arguments of an item: a list that has the fault alone, and the
// nearest list without it.

#include "tools/launchlist_check/argument_check.h"

#include <gtest/gtest.h>

#include "tests/tools/launchlist_check/checked.h"
#include "tools/launchlist_check/list_check.h"

namespace launchlist_check {
namespace {

TEST(LaunchListCheck, ACountThatIsNotANumber) {
    struct {
        char const* value;
        char const* type;
    } const cases[] = {
        {"\"2\"", "a string"},         {"[]", "an array"},
        {"{}", "an object"},           {"1e30", "far out of range"},
        {"-1e30", "far out of range"}, {"9223372036854775808", "far out of range"}};
    for (auto const& [value, type] : cases) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": )" + std::string(value))),
            kError + "\"argc\" is " + type + ": " + kChildrenAbort + " [argc-type]\n");
    }
}

TEST(LaunchListCheck, ACountThatIsReadAsAnother) {
    struct {
        char const* value;
        char const* what;
        char const* read_as;
        char const* args;
    } const cases[] = {{"1.7", "not an integer", "1", R"({"0": "x"})"},
                       {"-0.7", "not an integer", "0", "{}"},
                       {"true", "true", "1", R"({"0": "x"})"},
                       {"false", "false", "0", "{}"},
                       {"null", "null", "0", "{}"},
                       {"4294967297", "out of range", "1", R"({"0": "x"})"},
                       {"4294967296.0", "out of range", "0", "{}"}};
    for (auto const& [value, what, read_as, args] : cases) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": )" + std::string(value) + R"(, "args": )" + args)),
            kWarning + "\"argc\" is " + what + ": the launcher reads it as " + read_as +
                " [argc-value]\n");
    }
    for (std::string const exact : {"1", "1.0", "10e-1"}) {
        EXPECT_EQ(Check(ItemWith(R"("argc": )" + exact + R"(, "args": {"0": "x"})")),
                  kOk);
    }
}

TEST(LaunchListCheck, ACountBelowZero) {
    EXPECT_EQ(
        Check(ItemWith(R"("argc": -1)")),
        kError +
            "\"argc\" is -1: the program is started without even its own path as its "
            "first argument, which many programs do not survive [argc-negative]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": -0)")), kOk);
}

TEST(LaunchListCheck, ACountAboveTheMostTheLauncherPasses) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1048576)")),
              kError + "\"argc\" is 1048576, more than 1048575: " + kChildrenAbort +
                  " [argc-too-large]\n");
    CheckResult const result = CheckLaunchList(ItemWith(R"("argc": 1048575)"));
    EXPECT_EQ(result.findings.Counts().count({"argc-too-large", Severity::Error}), 0U);
}

TEST(LaunchListCheck, ArgumentsThatAreNotAnObject) {
    std::string const is_wrong = R"(, not an object with the keys "0", "1", ...: )";
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": ["x"])")),
        kError + "\"args\" is an array" + is_wrong + kChildrenAbort + " [args-type]\n");
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": "x")")),
        kError + "\"args\" is a string" + is_wrong + kChildrenAbort + " [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": ["x"])")),
              kWarning + "\"args\" is an array" + is_wrong +
                  "it is not looked at, as \"argc\" is not above 0 [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("args": "x")")),
              kWarning + "\"args\" is a string" + is_wrong +
                  "it is not looked at, as there is no \"argc\" [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x"})")), kOk);
}

TEST(LaunchListCheck, MoreArgumentsCountedThanThere) {
    std::string const ends =
        ": the program gets an empty string for each that is missing "
        "[missing-arguments]\n";
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x"})")),
              kWarning + "\"argc\" is 2, but \"args\" has no \"1\"" + ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 12, "args": {"1": "x"})")),
              kWarning +
                  "\"argc\" is 12, but \"args\" has no \"0\", \"2\", \"3\" and 8 more" +
                  ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 12, "args": {"10": "x", "2": "y", "0": "z"})")),
              kWarning +
                  "\"argc\" is 12, but \"args\" has no \"1\", \"3\", \"4\" and 6 more" +
                  ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 1)")),
              kWarning + "\"argc\" is 1, but there is no \"args\"" + ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": ""})")), kOk);
}

TEST(LaunchListCheck, FewerArgumentsCountedThanThere) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x", "1": "y"})")),
              kWarning +
                  "\"argc\" is 1: the program does not get \"1\" of \"args\" "
                  "[ignored-arguments]\n");
    EXPECT_EQ(Check(ItemWith(R"("args": {"10": "k", "9": "j", "0": "a", "1": "b"})")),
              kWarning +
                  "no \"argc\": the program does not get \"0\", \"1\", \"9\" and 1 more "
                  "of \"args\" [ignored-arguments]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": "y"})")), kOk);
}

TEST(LaunchListCheck, ArgumentsWhoseKeysAreNotNumbers) {
    for (std::string const key : {"01", "port", "+0", ""}) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": 1, "args": {"0": "x", ")" + key + R"(": "y"})")),
            kWarning + "\"args\" has the key \"" + key +
                "\", which is not an argument's number: it is ignored [argument-key]\n");
    }
}

TEST(LaunchListCheck, ArgumentsThatAreNotStrings) {
    struct {
        char const* value;
        char const* type;
        char const* text;
    } const cases[] = {{"7000", "a number", "7000"},
                       {"0.5", "a number", "0.5"},
                       {"true", "true", "true"},
                       {"null", "null", ""}};
    for (auto const& [value, type, text] : cases) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": 1, "args": {"0": )" + std::string(value) + "}")),
            kWarning + "argument \"0\" is " + type + ": the launcher takes it as \"" +
                text + "\" [argument-type]\n");
    }
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": {"0": ["x"]})")),
        kError + "argument \"0\" is an array: " + kChildrenAbort + " [argument-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "7000"})")), kOk);
}

TEST(LaunchListCheck, AChildThatAbortsNeverExecutesItsProgram) {
    CheckResult const result = CheckLaunchList(
        ItemOf(R"("name": "a", "program": "/nothing/here", "argc": "1")"));
    EXPECT_EQ(result.findings.Counts().size(), 1U);
    EXPECT_EQ(result.findings.InOrder().at(0).kind, "argc-type");
}

}  // namespace
}  // namespace launchlist_check
