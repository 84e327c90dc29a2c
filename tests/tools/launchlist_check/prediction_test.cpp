// Compares what the check says of lists with what the launcher does.

#include <sys/resource.h>

#include <csignal>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/log_gate.h"
#include "tools/common/printable.h"
#include "tools/launchlist_check/list_check.h"

namespace launchlist_check {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Prediction : public LauncherTest {
  protected:
    // Checks the list, expects findings of these kinds alone, and returns their messages.
    std::vector<std::string> Check(std::string const& list,
                                   std::vector<std::string> const& kinds) {
        CheckResult const result = CheckLaunchList(list);
        std::vector<std::string> found;
        std::vector<std::string> messages;
        for (Finding const& finding : result.findings.InOrder()) {
            found.push_back(finding.kind);
            messages.push_back(finding.message);
        }
        EXPECT_EQ(found, kinds) << list;
        programs = result.programs;
        return messages;
    }

    void StartWithoutCores(std::string const& list) {
        Start(list, [] {
            rlimit const none = {0, 0};
            setrlimit(RLIMIT_CORE, &none);
        });
    }

    // Returns an item with the test program as its program.
    static std::string TestItem(std::string const& name, std::string const& members) {
        return R"({"name": )" + name + R"(, "program": ")" TEST_PROGRAM R"(", )" +
               members + "}";
    }

    std::size_t programs = 99;
};

TEST_F(Prediction, NamesAreReadAsItSays) {
    struct {
        char const* value;
        char const* read_as;
        std::vector<std::string> kinds;
    } const cases[] = {{"7", "7", {"name-type"}},
                       {"1.5", "1.5", {"name-type"}},
                       {"-0", "0", {"name-type"}},
                       {"1e3", "1000.0", {"name-type"}},
                       {"true", "true", {"name-type"}},
                       {"null", "", {"name-type", "empty-name"}},
                       {R"("cut\u0000off")", "cut", {"zero-character"}},
                       {R"("caf\u00e9")", "caf\xC3\xA9", {}}};
    std::vector<std::string> items;
    for (auto const& [value, read_as, kinds] : cases) {
        items.push_back(TestItem(value, R"("argc": 0)"));
        std::vector<std::string> const messages = Check(ListText({items.back()}), kinds);
        if (!kinds.empty()) {
            EXPECT_THAT(messages[0], testing::EndsWith(" " + tools::Quoted(read_as)));
        }
    }
    Start(ListText(items));
    WaitForStarts(items.size());
    for (auto const& [value, read_as, kinds] : cases) {
        EXPECT_THAT(Messages("DEBUG"), testing::Contains("[LAUNCHER  ] Start to fork " +
                                                         std::string(read_as)));
    }
}

TEST_F(Prediction, ArgumentsArriveAsItSays) {
    struct {
        char const* members;
        std::vector<std::string> kinds;
        char const* message;
        std::vector<std::string> arguments;
    } const cases[] = {
        {R"("argc": 1, "args": {"0": "--hold"})", {}, "", {"--hold"}},
        {R"("argc": 1.0, "args": {"0": "--hold"})", {}, "", {"--hold"}},
        {R"("argc": 1.9, "args": {"0": "x"})", {"argc-value"}, "reads it as 1", {"x"}},
        {R"("argc": true, "args": {"0": "x"})", {"argc-value"}, "reads it as 1", {"x"}},
        {R"("argc": 4294967297, "args": {"0": "x"})",
         {"argc-value"},
         "reads it as 1",
         {"x"}},
        {R"("argc": null, "args": {})", {"argc-value"}, "reads it as 0", {}},
        {R"("argc": -0.5)", {"argc-value"}, "reads it as 0", {}},
        {R"("argc": 2, "args": {"0": "x"})",
         {"missing-arguments"},
         "empty string",
         {"x", ""}},
        {R"("argc": 1)", {"missing-arguments"}, "empty string", {""}},
        {R"("argc": 1, "args": null)", {"missing-arguments"}, "empty string", {""}},
        {R"("argc": 1, "args": {"0": "x", "1": "y"})",
         {"ignored-arguments"},
         "does not get",
         {"x"}},
        {R"("args": {"0": "x"})", {"ignored-arguments"}, "does not get", {}},
        {R"("args": ["x"])", {"args-type"}, "not looked at", {}},
        {R"("argc": 1, "args": {"0": "x", "01": "y"})",
         {"argument-key"},
         "ignored",
         {"x"}},
        {R"("argc": 1, "args": {"0": 7000})", {"argument-type"}, R"("7000")", {"7000"}},
        {R"("argc": 1, "args": {"0": 0.1})",
         {"argument-type"},
         R"("0.10000000000000001")",
         {"0.10000000000000001"}},
        {R"("argc": 1, "args": {"0": false})",
         {"argument-type"},
         R"("false")",
         {"false"}},
        {R"("argc": 1, "args": {"0": null})", {"argument-type"}, R"("")", {""}},
        {R"("argc": 1, "args": {"0": "a\u0000b"})", {"zero-character"}, R"("a")", {"a"}}};
    std::vector<std::string> items;
    for (auto const& [members, kinds, message, arguments] : cases) {
        items.push_back(TestItem("\"" + std::to_string(items.size()) + "\"", members));
        std::vector<std::string> const messages = Check(ListText({items.back()}), kinds);
        if (!kinds.empty()) {
            EXPECT_THAT(messages[0], HasSubstr(message));
        }
    }
    Start(ListText(items));
    std::vector<std::vector<std::string>> arrived;
    for (ProgramStart const& start : WaitForStarts(items.size())) {
        EXPECT_EQ(start.arguments.at(0), TEST_PROGRAM);
        arrived.emplace_back(start.arguments.begin() + 1, start.arguments.end());
    }
    std::vector<std::vector<std::string>> expected;
    for (auto const& [members, kinds, message, arguments] : cases) {
        expected.push_back(arguments);
    }
    EXPECT_THAT(arrived, testing::UnorderedElementsAreArray(expected));
}

TEST_F(Prediction, ANegativeCountStartsTheProgramWithoutItsPath) {
    std::string const list = ListText({TestItem(R"("a")", R"("argc": -1)")});
    EXPECT_THAT(Check(list, {"argc-negative"}),
                ElementsAre(HasSubstr("without even its own path")));
    Start(list);
    // The system may put an empty argument in the path's place.
    ProgramStart const start = WaitForStarts(1)[0];
    EXPECT_THAT(start.arguments, testing::Each(""));
}

TEST_F(Prediction, ChildrenEndAbnormallyAsPredicted) {
    struct {
        char const* members;
        char const* kind;
    } const cases[] = {{R"("argc": "2")", "argc-type"},
                       {R"("argc": [])", "argc-type"},
                       {R"("argc": {})", "argc-type"},
                       {R"("argc": 1e30)", "argc-type"},
                       {R"("argc": 9223372036854775808)", "argc-type"},
                       {R"("argc": 1048576)", "argc-too-large"},
                       {R"("argc": 1, "args": ["x"])", "args-type"},
                       {R"("argc": 1, "args": "x")", "args-type"},
                       {R"("argc": 1, "args": false)", "args-type"},
                       {R"("argc": 1, "args": {"0": ["x"]})", "argument-type"},
                       {R"("argc": 1, "args": {"0": {}})", "argument-type"}};
    std::vector<std::string> items;
    for (auto const& [members, kind] : cases) {
        items.push_back(
            TestItem("\"item" + std::to_string(items.size()) + "\"", members));
        EXPECT_THAT(Check(ListText({items.back()}), {kind}),
                    ElementsAre(HasSubstr("every child ends abnormally")));
    }
    StartWithoutCores(ListText(items));
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_TRUE(WaitFor([&] {
            return CountInLog("] item" + std::to_string(i) + " ") >= 2;
        })) << items[i];
    }
    EXPECT_THAT(Messages("ERROR"), testing::Each(testing::EndsWith("status = 6")));
    EXPECT_THAT(Starts(), testing::IsEmpty());
}

TEST_F(Prediction, AnEmptyProgramIsForkedForNothingAsPredicted) {
    char const* const cases[] = {R"({"name": "a"})", R"({"name": "b", "program": ""})",
                                 R"({"name": "c", "program": "\u0000/bin/sh"})"};
    Check(ListText({cases[0]}), {"no-program"});
    Check(ListText({cases[1]}), {"no-program"});
    Check(ListText({cases[2]}), {"zero-character", "no-program"});
    Start(ListText({cases[0], cases[1], cases[2]}));
    for (char const* const name : {"a", "b", "c"}) {
        EXPECT_TRUE(WaitFor([&] {
            return CountInLog("program path of " + std::string(name) + " is empty") >= 2;
        }));
    }
}

TEST_F(Prediction, TheLauncherEndsWithZeroAsPredicted) {
    struct {
        std::string list;
        char const* kind;
    } const cases[] = {{"{", "not-json"},
                       {"\xEF\xBB\xBF{}", "not-json"},
                       {R"({"0": {},})", "not-json"},
                       {"[]", "not-an-object"},
                       {"\"0\"", "not-an-object"},
                       {"7", "not-an-object"},
                       {std::string(1001, '[') + std::string(1001, ']'), "too-deep"},
                       {R"({"0": "a"})", "item-type"},
                       {R"({"0": []})", "item-type"},
                       {R"({"0": 0})", "item-type"},
                       {R"({"0": {"name": [], "program": "/bin/sh"}})", "name-type"},
                       {R"({"0": {"name": {}, "program": "/bin/sh"}})", "name-type"}};
    for (auto const& [list, kind] : cases) {
        EXPECT_THAT(Check(list, {kind}), ElementsAre(HasSubstr("exit code 0")));
        EXPECT_EQ(programs, 0U);
        Start(list);
        EXPECT_EQ(launcher->WaitForEnd(), "exit 0") << list;
    }
    EXPECT_THAT(
        Messages("ERROR"),
        testing::AllOf(
            testing::SizeIs(std::size(cases)),
            testing::Each("[LAUNCHER  ] Error while parsing saved json string.")));
}

TEST_F(Prediction, TheLauncherEndsAbnormallyAsPredicted) {
    for (std::string const program : {"[]", "{}"}) {
        std::string const list = R"({"0": {"name": "a", "program": )" + program + "}}";
        EXPECT_THAT(Check(list, {"program-type"}),
                    ElementsAre(HasSubstr("the launcher itself ends abnormally")));
        StartWithoutCores(list);
        EXPECT_EQ(launcher->WaitForEnd(), "signal 6");
    }
}

TEST_F(Prediction, TheLauncherRunsAndStartsNothingAsPredicted) {
    struct {
        char const* list;
        char const* kind;
    } const cases[] = {{"{}", "no-items"},
                       {"null", "not-an-object"},
                       {R"({"1": {"name": "a", "program": "/bin/sh"}})", "unreached"},
                       {R"({"0": null})", "item-type"},
                       {R"({"0": {"program": "/bin/sh"}})", "no-name"}};
    for (auto const& [list, kind] : cases) {
        Check(list, {kind});
        EXPECT_EQ(programs, 0U);
        Start(list);
        EXPECT_EQ(Stop(), "exit 1") << list;
    }
    EXPECT_EQ(CountInLog("Start to fork"), 0U);
}

TEST_F(Prediction, WhatIsIgnoredIsIgnored) {
    std::string const kept = Item("kept");
    std::string const lost = Item("lost");
    struct {
        std::string list;
        char const* kind;
    } const cases[] = {
        {"{\"0\": " + lost + ", \"0\": " + kept + "}", "repeated-key"},
        {"{\"0\": " + kept + "}, \"1\": " + lost + "}", "text-behind"},
        {"{\"0\": " + kept + "}" + std::string(1, '\0') + lost, "zero-byte"},
        {"{\"0\": " + kept + ", \"2\": " + lost + "}", "unreached"},
        {"{\"0\": " + kept + ", \"01\": " + lost + "}", "key-number"},
        {"{\"0\": " + kept + ", \"one\": " + lost + "}", "unknown-key"}};
    std::size_t started = 0;
    for (auto const& [list, kind] : cases) {
        Check(list, {kind});
        EXPECT_EQ(programs, 1U);
        Start(list);
        // Before the program runs, a stop would kill the launcher itself.
        WaitForStarts(++started);
        EXPECT_EQ(Stop(), "exit 1") << list;
    }
    EXPECT_EQ(CountInLog("Start to fork kept"), std::size(cases));
    EXPECT_EQ(CountInLog("lost"), 0U);
}

TEST_F(Prediction, OfTwoWithOneNameTheLaterRunsOn) {
    std::string const list =
        ListText({Item("a", {"--hold", "earlier"}), R"({"program": "/bin/sh"})",
                  Item("a", {"--hold", "later"})});
    EXPECT_THAT(Check(list, {"no-name", "duplicate-name"}),
                ElementsAre(testing::_, HasSubstr("this later one wins")));
    EXPECT_EQ(programs, 0U);
    // The launcher is held up at its line about the item without a name until the earlier
    // program runs. Else the earlier item could be stopped before it has a process, and
    // the launcher's group would be killed.
    LogGate gate(log_file);
    SetLogLevel("ERROR");
    Start(list);
    pid_t const earlier = WaitForStarts(1, "earlier")[0].pid;
    ASSERT_TRUE(gate.WaitUntilBlocked(launcher->Pid(), 1));
    gate.Open();
    pid_t const later = WaitForStarts(1, "later")[0].pid;
    EXPECT_TRUE(WaitFor([&] { return IsGone(earlier); }));
    EXPECT_TRUE(WaitUntilMainWaits());
    EXPECT_FALSE(IsGone(later));
}

}  // namespace
}  // namespace launchlist_check
