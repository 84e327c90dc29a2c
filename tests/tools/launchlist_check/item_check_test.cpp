// Findings about items, their names and their programs: a list that has the fault alone,
// and the nearest list without it.

#include "tools/launchlist_check/item_check.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "harness/files.h"
#include "tests/tools/launchlist_check/checked.h"
#include "tools/launchlist_check/list_check.h"

namespace launchlist_check {
namespace {

std::string const kEndsWithZero = "the launcher ends there, with exit code 0";
std::string const kKillsGroup =
    "the launcher ends there and stops what it has started, which may have no process "
    "yet: then SIGKILL goes to the launcher's own process group";

TEST(LaunchListCheck, AnItemThatIsNotAnObject) {
    std::string const item = "list.json: error: item \"0\": this is ";
    std::string const ends = ", not an object: " + kEndsWithZero + " [item-type]\n";
    EXPECT_EQ(Check(R"({"0": "agent"})"), item + "a string" + ends);
    EXPECT_EQ(Check(R"({"0": []})"), item + "an array" + ends);
    EXPECT_EQ(Check(R"({"0": 7})"), item + "a number" + ends);
    EXPECT_EQ(Check(R"({"0": false})"), item + "false" + ends);
    EXPECT_EQ(Check(R"({"0": null})"),
              item + "null, not an object: the launcher skips it [item-type]\n");
}

TEST(LaunchListCheck, AnItemThatEndsTheLauncherKillsWhatWasStartedBefore) {
    std::string const started = R"({"0": {"name": "a", "program": "/bin/sh"}, )";
    EXPECT_EQ(Check(started + R"("1": 7})"),
              "list.json: error: item \"1\": this is a number, not an object: " +
                  kKillsGroup + " [item-type]\n");
    EXPECT_EQ(Check(started + R"("1": {"name": []}})"),
              "list.json: error: item \"1\": \"name\" is an array: " + kKillsGroup +
                  " [name-type]\n");
    // An item that is skipped is not started.
    EXPECT_EQ(Check(R"({"0": null, "1": []})"),
              "list.json: error: item \"0\": this is null, not an object: the launcher "
              "skips it [item-type]\n"
              "list.json: error: item \"1\": this is an array, not an object: " +
                  kEndsWithZero + " [item-type]\n");
}

TEST(LaunchListCheck, AnItemWithoutAName) {
    EXPECT_EQ(Check(ItemOf(R"("program": "/bin/sh")")),
              "list.json: error: item \"0\": no \"name\": the launcher skips the item "
              "[no-name]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, OfAnItemWithoutANameNothingElseIsRead) {
    EXPECT_EQ(Check(ItemOf(R"("program": "relative", "argc": "x", "args": 7, "arg": 1)")),
              "list.json: error: item \"0\": no \"name\": the launcher skips the item "
              "[no-name]\n"
              "list.json: warning: item \"0\": the member \"arg\" means nothing to the "
              "launcher [unknown-member]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": {}, "program": [])")),
              "list.json: error: item \"0\": \"name\" is an object: " + kEndsWithZero +
                  " [name-type]\n");
}

TEST(LaunchListCheck, ANameThatIsNotAString) {
    struct {
        char const* value;
        char const* type;
        char const* text;
    } const cases[] = {
        {"7", "a number", "7"}, {"-0.5", "a number", "-0.5"}, {"true", "true", "true"}};
    for (auto const& [value, type, text] : cases) {
        EXPECT_EQ(
            Check(
                ItemOf(R"("name": )" + std::string(value) + R"(, "program": "/bin/sh")")),
            "list.json: warning: item \"0\" (" + std::string(text) + "): \"name\" is " +
                type + ": the launcher takes it as \"" + text + "\" [name-type]\n");
    }
    for (std::string const value : {"[\"a\"]", "{}"}) {
        EXPECT_EQ(Check(ItemOf(R"("name": )" + value + R"(, "program": "/bin/sh")")),
                  "list.json: error: item \"0\": \"name\" is " +
                      std::string(value == "{}" ? "an object" : "an array") + ": " +
                      kEndsWithZero + " [name-type]\n");
    }
}

TEST(LaunchListCheck, ANameThatIsEmpty) {
    std::string const line =
        "list.json: warning: item \"0\": \"name\" is empty: log lines will not show "
        "which item they are about [empty-name]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "", "program": "/bin/sh")")), line);
    EXPECT_EQ(Check(ItemOf(R"("name": null, "program": "/bin/sh")")),
              "list.json: warning: item \"0\": \"name\" is null: the launcher takes it "
              "as \"\" [name-type]\n" +
                  line);
    EXPECT_EQ(Check(ItemOf(R"("name": " ", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, ANameWithControlCharactersCannotForgeAFinding) {
    std::string const text =
        ": \"name\" has control characters, which make log lines hard to read "
        "[name-characters]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a\nlist.json: error: b", "program": "/bin/sh")")),
              "list.json: warning: item \"0\" (a\\x0Alist.json: error: b)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "a\u007f", "program": "/bin/sh")")),
              "list.json: warning: item \"0\" (a\\x7F)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "caf\u00e9 \\n", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, ANameThatIsNotUtf8) {
    std::string const text =
        ": \"name\" is not UTF-8: its bytes are in the log as they are, and other "
        "programs show them differently [name-encoding]\n";
    EXPECT_EQ(Check(ItemOf("\"name\": \"caf\xE9\", \"program\": \"/bin/sh\"")),
              "list.json: warning: item \"0\" (caf\\xE9)" + text);
    // One escape of a pair.
    EXPECT_EQ(Check(ItemOf(R"("name": "\udc00", "program": "/bin/sh")")),
              R"(list.json: warning: item "0" (\xED\xB0\x80))" + text);
    EXPECT_EQ(Check(ItemOf("\"name\": \"caf\xC3\xA9\", \"program\": \"/bin/sh\"")), kOk);
    EXPECT_EQ(Check(ItemOf(R"("name": "\ud83d\ude00", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, TextThatIsCutAtAZeroCharacter) {
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a\u0000b", "program": "/bin/sh")")),
        kWarning + "\"name\" is cut at its zero character to \"a\" [zero-character]\n");
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a", "program": "/bin/sh\u0000x")")),
        kWarning +
            "\"program\" is cut at its zero character to \"/bin/sh\" [zero-character]\n");
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0000y"})")),
        kWarning +
            "argument \"0\" is cut at its zero character to \"x\" [zero-character]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0001y"})")), kOk);
}

TEST(LaunchListCheck, NoItemIsReachedAfterOneThatEndsTheLauncher) {
    std::string const list = R"({"0": [], "1": {"name": "a", "program": "/nothing/here"},
        "2": {"name": "a", "program": []}, "3": 7})";
    std::string const unreached =
        "never reached: the launcher ends at item \"0\" [unreached]\n";
    EXPECT_EQ(Check(list),
              "list.json: error: item \"0\": this is an array, not an object: the "
              "launcher ends there, with exit code 0 [item-type]\n"
              "list.json: error: item \"1\" (a): " +
                  unreached + "list.json: error: item \"2\" (a): " + unreached +
                  "list.json: error: item \"3\": " + unreached);
    EXPECT_EQ(CheckLaunchList(list).outcome, Outcome::Exits);
}

TEST(LaunchListCheck, TheSameNameTwice) {
    auto const list = [](std::string const& first, std::string const& second) {
        return R"({"0": {"name": )" + first +
               R"(, "program": "/bin/sh"}, "1": {"name": )" + second +
               R"(, "program": "/bin/sh"}})";
    };
    EXPECT_EQ(
        Check(list(R"("a")", R"("a")")),
        "list.json: error: item \"1\" (a): item \"0\" has the same name: this later one "
        "wins. The launcher stops the earlier one at once, and if that has no process "
        "yet, SIGKILL goes to the launcher's own process group [duplicate-name]\n");
    EXPECT_EQ(Check(list(R"("a")", R"("A")")), "list.json: ok, 2 programs\n");
    // The name counts as the launcher reads it.
    EXPECT_EQ(CheckLaunchList(list("7", R"("7")")).findings.InOrder().at(1).kind,
              "duplicate-name");
    EXPECT_EQ(
        CheckLaunchList(list(R"("a")", R"("a\u0000b")")).findings.InOrder().at(1).kind,
        "duplicate-name");
    EXPECT_EQ(CheckLaunchList(list(R"("a")", R"("a")")).programs, 0);
}

TEST(LaunchListCheck, OfThreeWithOneNameEachLaterOneWinsOverTheOneBefore) {
    std::string const item = R"({"name": "a", "program": "/bin/sh"})";
    CheckResult const result = CheckLaunchList("{\"0\": " + item + ", \"1\": " + item +
                                               ", \"2\": " + item + "}");
    std::vector<Finding> const findings = result.findings.InOrder();
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].message.substr(0, 8), "item \"0\"");
    EXPECT_EQ(findings[1].message.substr(0, 8), "item \"1\"");
}

TEST(LaunchListCheck, AnItemWithoutAProgram) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a")")),
              kError +
                  "no \"program\": every 50 ms a child is forked that runs nothing "
                  "[no-program]\n");
    std::string const empty = kError +
                              "\"program\" is empty: every 50 ms a child is forked that "
                              "runs nothing [no-program]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "")")), empty);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": null)")),
              kWarning +
                  "\"program\" is null: the launcher takes it as \"\" [program-type]\n" +
                  empty);
}

TEST(LaunchListCheck, AProgramThatIsNotAString) {
    std::string const ends =
        ": the launcher itself ends abnormally, and the programs that it has started run "
        "on [program-type]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ["/bin/sh"])")),
              kError + "\"program\" is an array" + ends);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": {})")),
              kError + "\"program\" is an object" + ends);
    EXPECT_EQ(CheckLaunchList(ItemOf(R"("name": "a", "program": {})")).programs, 0);
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a", "program": 7)")),
        kWarning +
            "\"program\" is a number: the launcher takes it as \"7\" [program-type]\n" +
            kError +
            "\"program\" \"7\" is not an absolute path: it is looked up from the working "
            "directory of the launcher, and PATH is not searched; if it is not found, " +
            kChainGrows + " [relative-program]\n");
}

TEST(LaunchListCheck, AProgramThatIsNotAnAbsolutePath) {
    for (std::string const program : {"sh", "bin/sh", "./sh", "~/sh"}) {
        EXPECT_EQ(
            Check(ItemOf(R"("name": "a", "program": ")" + program + "\"")),
            kError + "\"program\" \"" + program +
                "\" is not an absolute path: it is looked up from the working directory "
                "of the launcher, and PATH is not searched; if it is not found, " +
                kChainGrows + " [relative-program]\n");
    }
}

TEST(LaunchListCheck, AProgramThatCannotBeExecuted) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/nothing/here")")),
              kError +
                  "\"program\" \"/nothing/here\" cannot be executed (No such file or "
                  "directory): " +
                  kChainGrows + " [program-file]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin")")),
              kError + "\"program\" \"/bin\" cannot be executed (it is a directory): " +
                  kChainGrows + " [program-file]\n");
    TempDirectory const directory;
    std::string const file = directory.Write("plain", "#!/bin/sh\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ")" + file + "\"")),
              kError + "\"program\" \"" + file +
                  "\" cannot be executed (this user may not execute it): " + kChainGrows +
                  " [program-file]\n");
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ")" + file + "\"")), kOk);
}

TEST(LaunchListCheck, MembersThatTheLauncherDoesNotRead) {
    EXPECT_EQ(Check(ItemWith(R"("arg": {"0": "x"})")),
              kWarning +
                  "the member \"arg\" means nothing to the launcher; did you mean "
                  "\"args\"? [unknown-member]\n");
    EXPECT_EQ(Check(ItemWith(R"("user": "nobody")")),
              kWarning +
                  "the member \"user\" means nothing to the launcher [unknown-member]\n");
    // A member that the item has was not meant.
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {}, "Args": {})")),
              kWarning +
                  "the member \"Args\" means nothing to the launcher [unknown-member]\n");
    EXPECT_EQ(Check(ItemOf(R"("Name": "a", "program": "/bin/sh")")),
              "list.json: error: item \"0\": no \"name\": the launcher skips the item "
              "[no-name]\n"
              "list.json: warning: item \"0\": the member \"Name\" means nothing to the "
              "launcher; did you mean \"name\"? [unknown-member]\n");
}

TEST(LaunchListCheck, TheMachineNeedNotBeAsked) {
    CheckOptions options;
    options.asks_machine = false;
    auto const count = [&options](std::string const& list) {
        return CheckLaunchList(list, options).findings.Count(Severity::Error);
    };
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "/nothing/here")")), 0U);
    EXPECT_EQ(count(ItemWith(R"("argc": 1, "args": {"0": ")" + std::string(200'000, 'x') +
                             "\"}")),
              0U);
    // What does not depend on the machine is still found.
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "sh")")), 1U);
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "/bin/sh", "argc": "1")")), 1U);
}

TEST(LaunchListCheck, WithoutAProgramNoArgumentsAreRead) {
    CheckResult const result =
        CheckLaunchList(ItemOf(R"("name": "a", "argc": "1", "args": 7)"));
    EXPECT_EQ(result.findings.Counts().size(), 1U);
    EXPECT_EQ(result.findings.InOrder().at(0).kind, "no-program");
}

}  // namespace
}  // namespace launchlist_check
