// Every finding: a list that has this fault alone, and the nearest list that has not.

#include "tools/launchlist_check/list_check.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>

#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tools/launchlist_check/output.h"

namespace {

// Returns what is printed about a list with these bytes: the findings, or the verdict if
// there are none.
std::string CheckAt(std::string const& bytes) {
    CheckResult const result = CheckLaunchList(bytes);
    std::string const lines = ToLines({"list.json", result});
    return result.findings.Counts().empty()
               ? lines
               : lines.substr(0, lines.rfind('\n', lines.size() - 2) + 1);
}

// The same without the places.
std::string Check(std::string const& bytes) {
    return std::regex_replace(CheckAt(bytes), std::regex("list\\.json:[0-9]+:[0-9]+:"),
                              "list.json:");
}

// Returns a list of one item, "a", whose program is the shell, with more members.
std::string ItemWith(std::string const& members) {
    return R"({"0": {"name": "a", "program": "/bin/sh")" +
           (members.empty() ? "" : ", " + members) + "}}";
}

// Returns a list of one item with just these members.
std::string ItemOf(std::string const& members) {
    return R"({"0": {)" + members + "}}";
}

std::string const kOk = "list.json: ok, 1 program\n";
std::string const kItem = "item \"0\" (a): ";
std::string const kAborts =
    "every child ends abnormally before it runs the program, and the next one comes 50 "
    "ms "
    "later";
std::string const kChain = "a chain of processes grows, one more every 50 ms";

TEST(LaunchListCheck, ARightListHasNoFinding) {
    EXPECT_EQ(Check(ItemWith("")), kOk);
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "-c", "1": "exit 3"})")), kOk);
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {})")), kOk);
    EXPECT_EQ(Check(ItemWith(R"("args": {})")), kOk);
    EXPECT_EQ(Check(R"({"1": {"name": "b", "program": "/bin/sh"},
                        "0": {"name": "a", "program": "/bin/sh"}})"),
              "list.json: ok, 2 programs\n");
}

TEST(LaunchListCheck, CommentsAndASchemaAreNoFault) {
    EXPECT_EQ(
        Check("// my list\n{\"$schema\": \"s\", /* the first */ \"0\": "
              "{\"name\": \"a\", // its name\n \"program\": \"/bin/sh\"}}\n// end\n"),
        kOk);
}

TEST(LaunchListCheck, AnEmptyFile) {
    EXPECT_EQ(
        Check(""),
        "list.json: error: this is empty: the launcher ends without a word, with exit "
        "code 0 [empty]\n");
    EXPECT_EQ(
        CheckAt("\n"),
        "list.json:2:1: error: this is not JSON: Syntax error: value, object or array "
        "expected: the launcher ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TextThatIsNotJson) {
    std::string const line_3 =
        "{\n\"0\": {\"name\": \"\xC3\xA9\"\n  \"program\": \"/bin/sh\"}}";
    EXPECT_EQ(CheckAt(line_3),
              "list.json:3:3: error: this is not JSON: Missing ',' or '}' in object "
              "declaration: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(
        CheckAt("{\"0\": 1e\n}"),
        "list.json:1:7: error: this is not JSON: '1e' is not a number: the launcher "
        "ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TheMistakesMadeMostOftenInJsonAreNamed) {
    EXPECT_EQ(
        CheckAt(R"({"0": {"name": "a", "program": "/bin/sh",}})"),
        "list.json:1:42: error: this is not JSON: Missing '}' or object member name "
        "(the comma before it is one too many): the launcher ends with exit code 0 "
        "[not-json]\n");
    EXPECT_EQ(
        CheckAt("{'0': {}}"),
        "list.json:1:2: error: this is not JSON: Missing '}' or object member name "
        "(texts stand in double quotation marks): the launcher ends with exit code 0 "
        "[not-json]\n");
    EXPECT_EQ(
        CheckAt("\xEF\xBB\xBF" + ItemWith("")),
        "list.json:1:1: error: this is not JSON: Syntax error: value, object or array "
        "expected (the file begins with a byte-order mark): the launcher ends with "
        "exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TextThatIsNestedTooDeeply) {
    auto const nested = [](std::size_t depth) {
        return ItemWith("\"x\": " + std::string(depth, '[') + std::string(depth, ']'));
    };
    EXPECT_EQ(
        Check(nested(2000)),
        "list.json: error: this is nested too deeply: the launcher ends with exit code "
        "0 [too-deep]\n");
    EXPECT_EQ(Check(nested(900)), "list.json: warning: " + kItem +
                                      "the member \"x\" means nothing to the launcher "
                                      "[unknown-member]\n");
}

TEST(LaunchListCheck, AZeroByte) {
    std::string const list = ItemWith("");
    EXPECT_EQ(
        CheckAt(list + "\n" + std::string(1, '\0') + "\n"),
        "list.json:2:1: error: there is a zero byte: the launcher reads nothing from "
        "here on [zero-byte]\n");
    EXPECT_EQ(
        CheckAt(std::string(1, '\0') + list),
        "list.json:1:1: error: there is a zero byte: the launcher reads nothing from "
        "here on [zero-byte]\n"
        "list.json:1:1: error: this is not JSON: Syntax error: value, object or array "
        "expected: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(Check(list + "\n\n"), kOk);
}

TEST(LaunchListCheck, TextBehindTheList) {
    EXPECT_EQ(
        CheckAt(ItemWith("") + ",\n \"1\": {}}"),
        "list.json:1:43: error: the list has ended before this: the launcher ignores "
        "the rest [text-behind]\n");
    EXPECT_EQ(
        CheckAt(ItemWith("") + "\n}"),
        "list.json:2:1: error: the list has ended before this: the launcher ignores "
        "the rest [text-behind]\n");
    EXPECT_EQ(Check(ItemWith("") + " /* end */ \n"), kOk);
}

TEST(LaunchListCheck, AListThatIsNoObject) {
    std::string const begin = "list.json: error: this is ";
    std::string const end =
        ", not an object with the keys \"0\", \"1\", ...: the launcher ends with exit "
        "code 0 "
        "[not-an-object]\n";
    EXPECT_EQ(Check("[]"), begin + "an array" + end);
    EXPECT_EQ(Check("[" + ItemWith("") + "]"), begin + "an array" + end);
    EXPECT_EQ(Check("7"), begin + "a number" + end);
    EXPECT_EQ(Check("\"0\""), begin + "a string" + end);
    EXPECT_EQ(Check("true"), begin + "true" + end);
    EXPECT_EQ(Check("null"),
              begin +
                  "null, not an object with the keys \"0\", \"1\", ...: nothing is "
                  "started [not-an-object]\n");
}

TEST(LaunchListCheck, AListWithoutItems) {
    EXPECT_EQ(Check("{}"),
              "list.json: warning: there is no item \"0\": the launcher runs and starts "
              "nothing [no-items]\n");
}

TEST(LaunchListCheck, AKeyThatIsThereTwice) {
    std::string const text =
        " is here again: what stood there before is ignored "
        "[repeated-key]\n";
    EXPECT_EQ(CheckAt("{\"0\": {},\n" + ItemWith("").substr(1)),
              "list.json:2:1: error: the key \"0\"" + text);
    EXPECT_EQ(CheckAt(ItemWith("\n\"name\": \"b\"")),
              "list.json:2:1: error: item \"0\" (b): the key \"name\"" + text);
    EXPECT_EQ(CheckAt(ItemWith("\"argc\": 1, \"args\": {\n\"0\": \"x\",\n\"0\": \"y\"}")),
              "list.json:3:1: error: item \"0\" (a): the key \"0\"" + text);
    EXPECT_EQ(Check(ItemWith("\"argc\": 2, \"args\": {\n\"0\": \"x\",\n\"1\": \"y\"}")),
              kOk);
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {}, "x": {"a": 1, "a": 2})")),
              "list.json: warning: " + kItem +
                  "the member \"x\" means nothing to the launcher "
                  "[unknown-member]\n");
    // Nobody looks up what is in there.
    EXPECT_EQ(
        Check(
            R"({"$schema": {"a": 1, "a": 2}, "0": {"name": "a", "program": "/bin/sh"}})"),
        kOk);
}

TEST(LaunchListCheck, AnItemBehindAMissingNumber) {
    std::string const item = R"({"name": "b", "program": "/bin/sh"})";
    std::string const list = ItemWith("");
    auto const with = [&](std::string const& number) {
        return list.substr(0, list.size() - 1) + ", \"" + number + "\": " + item + "}";
    };
    EXPECT_EQ(
        Check(with("2")),
        "list.json: error: item \"2\" (b): never reached: the launcher stops at the "
        "first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("99999999999999999999")),
              "list.json: error: item \"99999999999999999999\" (b): never reached: the "
              "launcher stops at the first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("1")), "list.json: ok, 2 programs\n");
    EXPECT_EQ(
        Check("{\"1\": " + item + "}"),
        "list.json: error: item \"1\" (b): never reached: the launcher stops at the "
        "first number that is missing, \"0\" [unreached]\n");
}

TEST(LaunchListCheck, FindingsComeInTheOrderOfTheirPlaces) {
    EXPECT_EQ(
        CheckAt("{\"10\": {},\n \"9\": {}, \"2\": 7, \"x\": 1}"),
        "list.json:1:2: error: item \"10\": never reached: the launcher stops at the "
        "first number that is missing, \"0\" [unreached]\n"
        "list.json:2:2: error: item \"9\": never reached: the launcher stops at the "
        "first number that is missing, \"0\" [unreached]\n"
        "list.json:2:11: error: item \"2\": never reached: the launcher stops at the "
        "first number that is missing, \"0\" [unreached]\n"
        "list.json:2:19: warning: the key \"x\" is no item number: the launcher "
        "ignores it [unknown-key]\n");
}

TEST(LaunchListCheck, AKeyThatOnlyLooksLikeANumber) {
    std::string const list = ItemWith("");
    for (std::string const key : {"01", "+1", "-1", " 1", "1 ", "1.0", "00"}) {
        EXPECT_EQ(Check(list.substr(0, list.size() - 1) + ", \"" + key +
                        "\": {\"name\": \"b\", \"program\": \"/bin/sh\"}}"),
                  "list.json: error: item \"" + key +
                      "\" (b): the launcher writes its numbers as 0, 1, 2, ..., so it "
                      "ignores this item [key-number]\n");
    }
}

TEST(LaunchListCheck, AKeyThatIsNoNumber) {
    std::string const list = ItemWith("");
    for (std::string const key : {"comment", "one", "", "1a", ".", "+"}) {
        EXPECT_EQ(Check(list.substr(0, list.size() - 1) + ", \"" + key + "\": 1}"),
                  "list.json: warning: the key \"" + key +
                      "\" is no item number: the launcher ignores it [unknown-key]\n");
    }
}

std::string const kEndsWithZero = "the launcher ends there, with exit code 0";
std::string const kKillsGroup =
    "the launcher ends there and stops what it has started, which may have no process "
    "yet: then SIGKILL goes to the launcher's own process group";

TEST(LaunchListCheck, AnItemThatIsNoObject) {
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
    // What was only skipped was not started.
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

TEST(LaunchListCheck, ANameThatIsNoString) {
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
        "list.json: warning: item \"0\": \"name\" is empty: log lines "
        "will not tell what they are about [empty-name]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "", "program": "/bin/sh")")), line);
    EXPECT_EQ(
        Check(ItemOf(R"("name": null, "program": "/bin/sh")")),
        "list.json: warning: item \"0\": \"name\" is null: the launcher takes it as \"\" "
        "[name-type]\n" +
            line);
    EXPECT_EQ(Check(ItemOf(R"("name": " ", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, ANameWithControlCharactersCannotForgeAFinding) {
    std::string const text =
        ": \"name\" has control characters, which make log "
        "lines hard to read [name-characters]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a\nlist.json: error: b", "program": "/bin/sh")")),
              "list.json: warning: item \"0\" (a\\x0Alist.json: error: b)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "a\u007f", "program": "/bin/sh")")),
              "list.json: warning: item \"0\" (a\\x7F)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "caf\u00e9 \\n", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, ANameThatIsNotUtf8) {
    std::string const text =
        ": \"name\" is not UTF-8: its bytes are in the log as they are, and other "
        "programs "
        "show them differently [name-encoding]\n";
    EXPECT_EQ(Check(ItemOf("\"name\": \"caf\xE9\", \"program\": \"/bin/sh\"")),
              "list.json: warning: item \"0\" (caf\\xE9)" + text);
    // Half of a pair of escapes.
    EXPECT_EQ(Check(ItemOf(R"("name": "\udc00", "program": "/bin/sh")")),
              R"(list.json: warning: item "0" (\xED\xB0\x80))" + text);
    EXPECT_EQ(Check(ItemOf("\"name\": \"caf\xC3\xA9\", \"program\": \"/bin/sh\"")), kOk);
    EXPECT_EQ(Check(ItemOf(R"("name": "\ud83d\ude00", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, TextThatIsCutAtAZeroCharacter) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a\u0000b", "program": "/bin/sh")")),
              "list.json: warning: " + kItem +
                  "\"name\" is cut at its zero character to \"a\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin/sh\u0000x")")),
              "list.json: warning: " + kItem +
                  "\"program\" is cut at its zero character to \"/bin/sh\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0000y"})")),
              "list.json: warning: " + kItem +
                  "argument \"0\" is cut at its zero character to \"x\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0001y"})")), kOk);
}

TEST(LaunchListCheck, AfterAnItemThatEndsTheLauncherNoneIsReached) {
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
        "list.json: error: item \"1\" (a): item \"0\" has the same name: this later "
        "one wins. The launcher stops the earlier one at once, and if that has no "
        "process yet, SIGKILL goes to the launcher's own process group "
        "[duplicate-name]\n");
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
              "list.json: error: " + kItem +
                  "no \"program\": every 50 ms a child is forked that runs nothing "
                  "[no-program]\n");
    std::string const empty =
        "list.json: error: " + kItem +
        "\"program\" is empty: every 50 ms a child is forked that runs nothing "
        "[no-program]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "")")), empty);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": null)")),
              "list.json: warning: " + kItem +
                  "\"program\" is null: the launcher takes it as \"\" "
                  "[program-type]\n" +
                  empty);
}

TEST(LaunchListCheck, AProgramThatIsNoString) {
    std::string const ends =
        ": the launcher itself ends abnormally, and the programs that it has started run "
        "on "
        "[program-type]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ["/bin/sh"])")),
              "list.json: error: " + kItem + "\"program\" is an array" + ends);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": {})")),
              "list.json: error: " + kItem + "\"program\" is an object" + ends);
    EXPECT_EQ(CheckLaunchList(ItemOf(R"("name": "a", "program": {})")).programs, 0);
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a", "program": 7)")),
        "list.json: warning: " + kItem +
            "\"program\" is a number: the launcher takes it as \"7\" "
            "[program-type]\n" +
            "list.json: error: " + kItem +
            "\"program\" \"7\" is no absolute path: it is looked up from the "
            "working directory of the launcher, and PATH is not searched; if it is not "
            "found, " +
            kChain + " [relative-program]\n");
}

TEST(LaunchListCheck, AProgramThatIsNoAbsolutePath) {
    for (std::string const program : {"sh", "bin/sh", "./sh", "~/sh"}) {
        EXPECT_EQ(
            Check(ItemOf(R"("name": "a", "program": ")" + program + "\"")),
            "list.json: error: " + kItem + "\"program\" \"" + program +
                "\" is no absolute path: it is looked up from the working directory of "
                "the launcher, and PATH is not searched; if it is not found, " +
                kChain + " [relative-program]\n");
    }
}

TEST(LaunchListCheck, AProgramThatCannotBeExecuted) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/nothing/here")")),
              "list.json: error: " + kItem +
                  "\"program\" \"/nothing/here\" cannot be executed (No such file "
                  "or directory): " +
                  kChain + " [program-file]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin")")),
              "list.json: error: " + kItem +
                  "\"program\" \"/bin\" cannot be executed (it is a directory): " +
                  kChain + " [program-file]\n");
    TempDirectory const directory;
    std::string const file = directory.Write("plain", "#!/bin/sh\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ")" + file + "\"")),
              "list.json: error: " + kItem + "\"program\" \"" + file +
                  "\" cannot be executed (this user may not execute it): " + kChain +
                  " [program-file]\n");
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ")" + file + "\"")), kOk);
}

TEST(LaunchListCheck, ACountThatIsNoNumber) {
    struct {
        char const* value;
        char const* type;
    } const cases[] = {
        {"\"2\"", "a string"},         {"[]", "an array"},
        {"{}", "an object"},           {"1e30", "far out of range"},
        {"-1e30", "far out of range"}, {"9223372036854775808", "far out of range"}};
    for (auto const& [value, type] : cases) {
        EXPECT_EQ(Check(ItemWith(R"("argc": )" + std::string(value))),
                  "list.json: error: " + kItem + "\"argc\" is " + type + ": " + kAborts +
                      " [argc-type]\n");
    }
}

TEST(LaunchListCheck, ACountThatIsReadAsAnother) {
    struct {
        char const* value;
        char const* what;
        char const* read_as;
        char const* args;
    } const cases[] = {{"1.7", "no integer", "1", R"({"0": "x"})"},
                       {"-0.7", "no integer", "0", "{}"},
                       {"true", "true", "1", R"({"0": "x"})"},
                       {"false", "false", "0", "{}"},
                       {"null", "null", "0", "{}"},
                       {"4294967297", "out of range", "1", R"({"0": "x"})"},
                       {"4294967296.0", "out of range", "0", "{}"}};
    for (auto const& [value, what, read_as, args] : cases) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": )" + std::string(value) + R"(, "args": )" + args)),
            "list.json: warning: " + kItem + "\"argc\" is " + what +
                ": the launcher reads it as " + read_as + " [argc-value]\n");
    }
    for (std::string const exact : {"1", "1.0", "10e-1"}) {
        EXPECT_EQ(Check(ItemWith(R"("argc": )" + exact + R"(, "args": {"0": "x"})")),
                  kOk);
    }
}

TEST(LaunchListCheck, ACountBelowZero) {
    EXPECT_EQ(Check(ItemWith(R"("argc": -1)")),
              "list.json: error: " + kItem +
                  "\"argc\" is -1: the program is started without even its own "
                  "path as its first argument, which many programs do not survive "
                  "[argc-negative]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": -0)")), kOk);
}

TEST(LaunchListCheck, ACountAboveTheMostTheLauncherPasses) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1048576)")),
              "list.json: error: " + kItem + "\"argc\" is 1048576, more than 1048575: " +
                  kAborts + " [argc-too-large]\n");
    CheckResult const result = CheckLaunchList(ItemWith(R"("argc": 1048575)"));
    EXPECT_EQ(result.findings.Counts().count({"argc-too-large", Severity::Error}), 0U);
}

TEST(LaunchListCheck, ArgumentsThatAreNoObject) {
    std::string const is_wrong = R"(, not an object with the keys "0", "1", ...: )";
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": ["x"])")),
              "list.json: error: " + kItem + "\"args\" is an array" + is_wrong + kAborts +
                  " [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": "x")")),
              "list.json: error: " + kItem + "\"args\" is a string" + is_wrong + kAborts +
                  " [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": ["x"])")),
              "list.json: warning: " + kItem + "\"args\" is an array" + is_wrong +
                  "it is not looked at, as \"argc\" is not above 0 [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("args": "x")")),
              "list.json: warning: " + kItem + "\"args\" is a string" + is_wrong +
                  "it is not looked at, as there is no \"argc\" [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x"})")), kOk);
}

TEST(LaunchListCheck, MoreArgumentsCountedThanThere) {
    std::string const ends =
        ": the program gets an empty string for each that is missing "
        "[missing-arguments]\n";
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x"})")),
              "list.json: warning: " + kItem +
                  "\"argc\" is 2, but \"args\" has no \"1\"" + ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 12, "args": {"1": "x"})")),
              "list.json: warning: " + kItem +
                  "\"argc\" is 12, but \"args\" has no \"0\", \"2\", \"3\" and 8 "
                  "more" +
                  ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 12, "args": {"10": "x", "2": "y", "0": "z"})")),
              "list.json: warning: " + kItem +
                  "\"argc\" is 12, but \"args\" has no \"1\", \"3\", \"4\" and 6 "
                  "more" +
                  ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 1)")),
              "list.json: warning: " + kItem + "\"argc\" is 1, but there is no \"args\"" +
                  ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": ""})")), kOk);
}

TEST(LaunchListCheck, FewerArgumentsCountedThanThere) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x", "1": "y"})")),
              "list.json: warning: " + kItem +
                  "\"argc\" is 1: the program does not get \"1\" of \"args\" "
                  "[ignored-arguments]\n");
    EXPECT_EQ(Check(ItemWith(R"("args": {"10": "k", "9": "j", "0": "a", "1": "b"})")),
              "list.json: warning: " + kItem +
                  "no \"argc\": the program does not get \"0\", \"1\", \"9\" and 1 "
                  "more of \"args\" [ignored-arguments]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": "y"})")), kOk);
}

TEST(LaunchListCheck, ArgumentsWhoseKeysAreNoNumbers) {
    for (std::string const key : {"01", "port", "+0", ""}) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": 1, "args": {"0": "x", ")" + key + R"(": "y"})")),
            "list.json: warning: " + kItem + "\"args\" has the key \"" + key +
                "\", which is no number of an argument: it is ignored "
                "[argument-key]\n");
    }
}

TEST(LaunchListCheck, ArgumentsThatAreNoStrings) {
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
            "list.json: warning: " + kItem + "argument \"0\" is " + type +
                ": the launcher takes it as \"" + text + "\" [argument-type]\n");
    }
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": ["x"]})")),
              "list.json: error: " + kItem + "argument \"0\" is an array: " + kAborts +
                  " [argument-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "7000"})")), kOk);
}

TEST(LaunchListCheck, MembersThatNobodyReads) {
    EXPECT_EQ(Check(ItemWith(R"("arg": {"0": "x"})")),
              "list.json: warning: " + kItem +
                  "the member \"arg\" means nothing to the launcher; did you mean "
                  "\"args\"? [unknown-member]\n");
    EXPECT_EQ(Check(ItemWith(R"("user": "nobody")")),
              "list.json: warning: " + kItem +
                  "the member \"user\" means nothing to the launcher "
                  "[unknown-member]\n");
    // What is there was not meant.
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {}, "Args": {})")),
              "list.json: warning: " + kItem +
                  "the member \"Args\" means nothing to the launcher "
                  "[unknown-member]\n");
    EXPECT_EQ(Check(ItemOf(R"("Name": "a", "program": "/bin/sh")")),
              "list.json: error: item \"0\": no \"name\": the launcher skips the item "
              "[no-name]\n"
              "list.json: warning: item \"0\": the member \"Name\" means nothing to the "
              "launcher; did you mean \"name\"? [unknown-member]\n");
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
        {"unknown-member", R"({"0": {"name": "a", "program": "/bin/sh", ^"x": 1}})"},
    };
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
    EXPECT_EQ(
        lines[20],
        "list.json:1021:38: warning: item \"0\" (a): argument \"0\" is a number: the "
        "launcher takes it as \"7\" [argument-type]");
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

TEST(LaunchListCheck, TheMachineMayBeLeftOutOfIt) {
    CheckOptions options;
    options.asks_machine = false;
    auto const count = [&options](std::string const& list) {
        return CheckLaunchList(list, options).findings.Count(Severity::Error);
    };
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "/nothing/here")")), 0U);
    EXPECT_EQ(count(ItemWith(R"("argc": 1, "args": {"0": ")" + std::string(200'000, 'x') +
                             "\"}")),
              0U);
    // What every machine does is still found.
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "sh")")), 1U);
    EXPECT_EQ(count(ItemOf(R"("name": "a", "program": "/bin/sh", "argc": "1")")), 1U);
}

TEST(LaunchListCheck, WithoutAProgramNoArgumentsAreRead) {
    CheckResult const result =
        CheckLaunchList(ItemOf(R"("name": "a", "argc": "1", "args": 7)"));
    EXPECT_EQ(result.findings.Counts().size(), 1U);
    EXPECT_EQ(result.findings.InOrder().at(0).kind, "no-program");
}

TEST(LaunchListCheck, AChildThatAbortsNeverExecutesItsProgram) {
    CheckResult const result = CheckLaunchList(
        ItemOf(R"("name": "a", "program": "/nothing/here", "argc": "1")"));
    EXPECT_EQ(result.findings.Counts().size(), 1U);
    EXPECT_EQ(result.findings.InOrder().at(0).kind, "argc-type");
}

TEST(LaunchListCheck, MoreValuesThanTheMemoryShouldHold) {
    std::string list = "[1";
    for (int i = 0; i < 8'000'000; ++i) {
        list += ",1";
    }
    EXPECT_EQ(Check(list + "]"),
              "list.json: error: this has more than 8 million values: no launch list, "
              "and not checked [too-large]\n");
}

class ListFile : public testing::Test {
  protected:
    // Returns what is printed about the file.
    static std::string Check(std::string const& path) {
        return ToLines({"list.json", CheckLaunchListFile(path)});
    }

    // Makes a named pipe.
    std::string Pipe() const {
        std::string path = directory.Path() / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    TempDirectory const directory;
};

std::string const kOneError = "list.json: 1 error\n";

TEST_F(ListFile, ThatCannotBeOpenedOrRead) {
    EXPECT_EQ(Check(directory.Path() / "missing"),
              "list.json:1:1: error: this cannot be opened: No such file or directory: "
              "the launcher ends without a word, with exit code 0 [unreadable]\n" +
                  kOneError);
    EXPECT_EQ(
        Check(directory.Path()),
        "list.json:1:1: error: this is a directory: the launcher reads it for ever, "
        "in a busy loop that only SIGKILL ends [directory]\n" +
            kOneError);
    EXPECT_EQ(Check(directory.Write("list", ItemWith(""))), kOk);
}

TEST_F(ListFile, ThatNeverEnds) {
    std::string const device =
        "list.json:1:1: error: this is a device, and no end of it is in sight: the "
        "launcher reads it until the memory runs out [device]\n" +
        kOneError;
    EXPECT_EQ(Check("/dev/zero"), device);
    EXPECT_EQ(Check("/dev/urandom"), device);
    EXPECT_EQ(Check("/dev/null"),
              "list.json:1:1: error: this is empty: the launcher ends without a word, "
              "with exit code 0 [empty]\n" +
                  kOneError);
}

// A terminal to which nobody types.
TEST_F(ListFile, ThatGivesNothing) {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(terminal);
    unlockpt(terminal);
    EXPECT_EQ(Check(ptsname(terminal)),
              "list.json:1:1: error: nothing comes from this device: the launcher waits "
              "for it [device]\n" +
                  kOneError);
    close(terminal);
}

TEST_F(ListFile, MayHaveTheNumberOfTheStandardInput) {
    std::string const path = Pipe();
    int const kept = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    EXPECT_THAT(Check(path), testing::HasSubstr("[named-pipe]"));
    dup2(kept, STDIN_FILENO);
    close(kept);
}

TEST_F(ListFile, ThatIsLongerThanAnyListIsNotRead) {
    std::string const path = directory.Write("long", "");
    std::string const too_large =
        "list.json:1:1: error: this is longer than 64 MiB: no launch list, and not "
        "checked [too-large]\n" +
        kOneError;
    std::filesystem::resize_file(path, 64 * 1024 * 1024 + 1);
    EXPECT_EQ(Check(path), too_large);
    std::filesystem::resize_file(path, 1UL << 40U);
    EXPECT_EQ(Check(path), too_large);
    std::filesystem::resize_file(path, 64UL * 1024 * 1024);
    EXPECT_NE(Check(path), too_large);
}

TEST_F(ListFile, ThatIsANamedPipeWithoutAWriter) {
    EXPECT_EQ(Check(Pipe()),
              "list.json:1:1: error: this is a named pipe that nobody writes to: the "
              "launcher waits for a writer [named-pipe]\n" +
                  kOneError);
}

TEST_F(ListFile, ThatIsANamedPipeIsReadToTheEnd) {
    std::string const path = Pipe();
    std::string list = ItemWith("");
    list.insert(1, 200'000, ' ');
    Process writer([&] {
        WriteFile(path, list);
        return 0;
    });
    EXPECT_EQ(Check(path), kOk);
}

TEST_F(ListFile, ThatIsANamedPipeMayBeSlow) {
    std::string const path = Pipe();
    // The writer writes nothing before the reader has waited longer than for a writer.
    Process writer([&] {
        int const file = open(path.c_str(), O_WRONLY);
        usleep(1'300'000);
        return write(file, "{}", 2) == 2 ? 0 : 1;
    });
    EXPECT_EQ(Check(path),
              "list.json:1:1: warning: there is no item \"0\": the launcher runs and "
              "starts nothing [no-items]\n"
              "list.json: ok, 0 programs, 1 warning\n");
    EXPECT_EQ(writer.WaitForEnd(), "exit 0");
}

}  // namespace
