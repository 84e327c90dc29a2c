// Every finding: a list that has this fault alone, and the nearest list that has not.

#include "tools/launchlist_check/list_check.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/files.h"
#include "tools/launchlist_check/output.h"

namespace {

// Returns what is printed about a list with these bytes.
std::string Check(std::string const& bytes) {
    return ToLines({{"list.json", CheckLaunchList(bytes)}});
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

std::string const kOk = "ok: 1 programs\n";
std::string const kItem = "list.json: item \"0\" (a): ";
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
              "ok: 2 programs\n");
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
        Check("\n"),
        "list.json:2:1: error: this is not JSON: Syntax error: value, object or array "
        "expected: the launcher ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TextThatIsNotJson) {
    std::string const line_3 =
        "{\n\"0\": {\"name\": \"\xC3\xA9\"\n  \"program\": \"/bin/sh\"}}";
    EXPECT_EQ(Check(line_3),
              "list.json:3:3: error: this is not JSON: Missing ',' or '}' in object "
              "declaration: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(
        Check("{\"0\": 1e\n}"),
        "list.json:1:7: error: this is not JSON: '1e' is not a number: the launcher "
        "ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TheMistakesMadeMostOftenInJsonAreNamed) {
    EXPECT_EQ(
        Check(R"({"0": {"name": "a", "program": "/bin/sh",}})"),
        "list.json:1:42: error: this is not JSON: Missing '}' or object member name "
        "(the comma before it is one too many): the launcher ends with exit code 0 "
        "[not-json]\n");
    EXPECT_EQ(
        Check("{'0': {}}"),
        "list.json:1:2: error: this is not JSON: Missing '}' or object member name "
        "(texts stand in double quotation marks): the launcher ends with exit code 0 "
        "[not-json]\n");
    EXPECT_EQ(
        Check("\xEF\xBB\xBF" + ItemWith("")),
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
    EXPECT_EQ(Check(nested(900)),
              kItem +
                  "warning: the member \"x\" means nothing to the launcher "
                  "[unknown-member]\n");
}

TEST(LaunchListCheck, AZeroByte) {
    std::string const list = ItemWith("");
    EXPECT_EQ(
        Check(list + "\n" + std::string(1, '\0') + "\n"),
        "list.json:2:1: error: there is a zero byte: the launcher reads nothing from "
        "here on [zero-byte]\n");
    EXPECT_EQ(
        Check(std::string(1, '\0') + list),
        "list.json:1:1: error: there is a zero byte: the launcher reads nothing from "
        "here on [zero-byte]\n"
        "list.json:1:1: error: this is not JSON: Syntax error: value, object or array "
        "expected: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(Check(list + "\n\n"), kOk);
}

TEST(LaunchListCheck, TextBehindTheList) {
    EXPECT_EQ(
        Check(ItemWith("") + ",\n \"1\": {}}"),
        "list.json:1:43: error: the list has ended before this: the launcher ignores "
        "the rest [text-behind]\n");
    EXPECT_EQ(
        Check(ItemWith("") + "\n}"),
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
    EXPECT_EQ(Check("{\"0\": {},\n" + ItemWith("").substr(1)),
              "list.json:2:1: error: the key \"0\"" + text);
    EXPECT_EQ(Check(ItemWith("\n\"name\": \"b\"")),
              "list.json:2:1: item \"0\": error: the key \"name\"" + text);
    EXPECT_EQ(Check(ItemWith("\"argc\": 1, \"args\": {\n\"0\": \"x\",\n\"0\": \"y\"}")),
              "list.json:3:1: item \"0\": error: the key \"0\"" + text);
    EXPECT_EQ(Check(ItemWith("\"argc\": 2, \"args\": {\n\"0\": \"x\",\n\"1\": \"y\"}")),
              kOk);
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {}, "x": {"a": 1, "a": 2})")),
              kItem +
                  "warning: the member \"x\" means nothing to the launcher "
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
        "list.json: item \"2\" (b): error: never reached: the launcher stops at the "
        "first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("99999999999999999999")),
              "list.json: item \"99999999999999999999\" (b): error: never reached: the "
              "launcher stops at the first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("1")), "ok: 2 programs\n");
    EXPECT_EQ(
        Check("{\"1\": " + item + "}"),
        "list.json: item \"1\" (b): error: never reached: the launcher stops at the "
        "first number that is missing, \"0\" [unreached]\n");
}

TEST(LaunchListCheck, UnreachedItemsComeInTheOrderOfTheirNumbers) {
    EXPECT_EQ(
        Check(R"({"10": {}, "9": {}, "2": 7})"),
        "list.json: item \"2\": error: never reached: the launcher stops at the first "
        "number that is missing, \"0\" [unreached]\n"
        "list.json: item \"9\": error: never reached: the launcher stops at the first "
        "number that is missing, \"0\" [unreached]\n"
        "list.json: item \"10\": error: never reached: the launcher stops at the first "
        "number that is missing, \"0\" [unreached]\n");
}

TEST(LaunchListCheck, AKeyThatOnlyLooksLikeANumber) {
    std::string const list = ItemWith("");
    for (std::string const key : {"01", "+1", "-1", " 1", "1 ", "1.0", "00"}) {
        EXPECT_EQ(
            Check(list.substr(0, list.size() - 1) + ", \"" + key +
                  "\": {\"name\": \"b\", \"program\": \"/bin/sh\"}}"),
            "list.json: item \"" + key +
                "\" (b): error: this key is no number as the launcher writes it (0, 1, "
                "2, ...): the item is ignored [key-number]\n");
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

TEST(LaunchListCheck, AnItemThatIsNoObject) {
    std::string const ends =
        ", not an object: the launcher ends there, with exit code 0, and stops what it "
        "has "
        "started [item-type]\n";
    EXPECT_EQ(Check(R"({"0": "agent"})"),
              "list.json: item \"0\": error: this is a string" + ends);
    EXPECT_EQ(Check(R"({"0": []})"),
              "list.json: item \"0\": error: this is an array" + ends);
    EXPECT_EQ(Check(R"({"0": 7})"),
              "list.json: item \"0\": error: this is a number" + ends);
    EXPECT_EQ(Check(R"({"0": false})"),
              "list.json: item \"0\": error: this is false" + ends);
    EXPECT_EQ(
        Check(R"({"0": null})"),
        "list.json: item \"0\": error: this is null, not an object: the launcher skips "
        "it [item-type]\n");
}

TEST(LaunchListCheck, AnItemWithoutAName) {
    EXPECT_EQ(Check(ItemOf(R"("program": "/bin/sh")")),
              "list.json: item \"0\": error: no \"name\": the launcher skips the item "
              "[no-name]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, OfAnItemWithoutANameNothingElseIsRead) {
    EXPECT_EQ(Check(ItemOf(R"("program": "relative", "argc": "x", "args": 7, "arg": 1)")),
              "list.json: item \"0\": error: no \"name\": the launcher skips the item "
              "[no-name]\n"
              "list.json: item \"0\": warning: the member \"arg\" means nothing to the "
              "launcher [unknown-member]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": {}, "program": [])")),
              "list.json: item \"0\": error: \"name\" is an object: the launcher ends "
              "there, with exit code 0, and stops what it has started [name-type]\n");
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
            "list.json: item \"0\" (" + std::string(text) + "): warning: \"name\" is " +
                type + ": the launcher takes it as \"" + text + "\" [name-type]\n");
    }
    for (std::string const value : {"[\"a\"]", "{}"}) {
        EXPECT_EQ(
            Check(ItemOf(R"("name": )" + value + R"(, "program": "/bin/sh")")),
            "list.json: item \"0\": error: \"name\" is " +
                std::string(value == "{}" ? "an object" : "an array") +
                ": the launcher ends there, with exit code 0, and stops what it has "
                "started [name-type]\n");
    }
}

TEST(LaunchListCheck, ANameThatIsEmpty) {
    std::string const line =
        "list.json: item \"0\": warning: \"name\" is empty: log lines "
        "will not tell what they are about [empty-name]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "", "program": "/bin/sh")")), line);
    EXPECT_EQ(
        Check(ItemOf(R"("name": null, "program": "/bin/sh")")),
        "list.json: item \"0\": warning: \"name\" is null: the launcher takes it as \"\" "
        "[name-type]\n" +
            line);
    EXPECT_EQ(Check(ItemOf(R"("name": " ", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, ANameWithControlCharactersCannotForgeAFinding) {
    std::string const text =
        ": warning: \"name\" has control characters, which make log "
        "lines hard to read, or split them [name-characters]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a\nlist.json: error: b", "program": "/bin/sh")")),
              "list.json: item \"0\" (a\\x0Alist.json: error: b)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "a\u007f", "program": "/bin/sh")")),
              "list.json: item \"0\" (a\\x7F)" + text);
    EXPECT_EQ(Check(ItemOf(R"("name": "caf\u00e9 \\n", "program": "/bin/sh")")), kOk);
}

TEST(LaunchListCheck, TextThatIsCutAtAZeroCharacter) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a\u0000b", "program": "/bin/sh")")),
              kItem +
                  "warning: \"name\" is cut at its zero character to \"a\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin/sh\u0000x")")),
              kItem +
                  "warning: \"program\" is cut at its zero character to \"/bin/sh\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0000y"})")),
              kItem +
                  "warning: argument \"0\" is cut at its zero character to \"x\" "
                  "[zero-character]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x\u0001y"})")), kOk);
}

TEST(LaunchListCheck, TheSameNameTwice) {
    auto const list = [](std::string const& first, std::string const& second) {
        return R"({"0": {"name": )" + first +
               R"(, "program": "/bin/sh"}, "1": {"name": )" + second +
               R"(, "program": "/bin/sh"}})";
    };
    EXPECT_EQ(
        Check(list(R"("a")", R"("a")")),
        "list.json: item \"1\" (a): error: item \"0\" has the same name: this later one "
        "wins, and the launcher stops the earlier one at once, perhaps by SIGKILL to "
        "its whole process group [duplicate-name]\n");
    EXPECT_EQ(Check(list(R"("a")", R"("A")")), "ok: 2 programs\n");
    // The name counts as the launcher reads it.
    EXPECT_EQ(CheckLaunchList(list("7", R"("7")")).findings.at(1).kind, "duplicate-name");
    EXPECT_EQ(CheckLaunchList(list(R"("a")", R"("a\u0000b")")).findings.at(0).kind,
              "duplicate-name");
    EXPECT_EQ(CheckLaunchList(list(R"("a")", R"("a")")).programs, 0);
}

TEST(LaunchListCheck, OfThreeWithOneNameEachLaterOneWinsOverTheOneBefore) {
    std::string const item = R"({"name": "a", "program": "/bin/sh"})";
    CheckResult const result = CheckLaunchList("{\"0\": " + item + ", \"1\": " + item +
                                               ", \"2\": " + item + "}");
    ASSERT_EQ(result.findings.size(), 2U);
    EXPECT_EQ(result.findings[0].message.substr(0, 8), "item \"0\"");
    EXPECT_EQ(result.findings[1].message.substr(0, 8), "item \"1\"");
}

TEST(LaunchListCheck, AnItemWithoutAProgram) {
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a")")),
        kItem +
            "error: no \"program\": every 50 ms a child is forked that runs nothing "
            "[no-program]\n");
    std::string const empty =
        kItem +
        "error: \"program\" is empty: every 50 ms a child is forked that runs nothing "
        "[no-program]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "")")), empty);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": null)")),
              kItem +
                  "warning: \"program\" is null: the launcher takes it as \"\" "
                  "[program-type]\n" +
                  empty);
}

TEST(LaunchListCheck, AProgramThatIsNoString) {
    std::string const ends =
        ": the launcher itself ends abnormally, and the programs that it has started run "
        "on "
        "[program-type]\n";
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ["/bin/sh"])")),
              kItem + "error: \"program\" is an array" + ends);
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": {})")),
              kItem + "error: \"program\" is an object" + ends);
    EXPECT_EQ(CheckLaunchList(ItemOf(R"("name": "a", "program": {})")).programs, 0);
    EXPECT_EQ(
        Check(ItemOf(R"("name": "a", "program": 7)")),
        kItem +
            "warning: \"program\" is a number: the launcher takes it as \"7\" "
            "[program-type]\n" +
            kItem +
            "error: \"program\" \"7\" is no absolute path: it is looked up from the "
            "working directory of the launcher, and PATH is not searched; if it is not "
            "found, " +
            kChain + " [relative-program]\n");
}

TEST(LaunchListCheck, AProgramThatIsNoAbsolutePath) {
    for (std::string const program : {"sh", "bin/sh", "./sh", "~/sh"}) {
        EXPECT_EQ(
            Check(ItemOf(R"("name": "a", "program": ")" + program + "\"")),
            kItem + "error: \"program\" \"" + program +
                "\" is no absolute path: it is looked up from the working directory of "
                "the launcher, and PATH is not searched; if it is not found, " +
                kChain + " [relative-program]\n");
    }
}

TEST(LaunchListCheck, AProgramThatCannotBeExecuted) {
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/nonexistent")")),
              kItem +
                  "error: \"program\" \"/nonexistent\" cannot be executed (No such file "
                  "or directory): " +
                  kChain + " [program-file]\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": "/bin")")),
              kItem +
                  "error: \"program\" \"/bin\" cannot be executed (it is a directory): " +
                  kChain + " [program-file]\n");
    TempDirectory const directory;
    std::string const file = directory.Write("plain", "#!/bin/sh\n");
    EXPECT_EQ(Check(ItemOf(R"("name": "a", "program": ")" + file + "\"")),
              kItem + "error: \"program\" \"" + file +
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
        EXPECT_EQ(
            Check(ItemWith(R"("argc": )" + std::string(value))),
            kItem + "error: \"argc\" is " + type + ": " + kAborts + " [argc-type]\n");
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
            kItem + "warning: \"argc\" is " + what + ": the launcher reads it as " +
                read_as + " [argc-value]\n");
    }
    for (std::string const exact : {"1", "1.0", "10e-1"}) {
        EXPECT_EQ(Check(ItemWith(R"("argc": )" + exact + R"(, "args": {"0": "x"})")),
                  kOk);
    }
}

TEST(LaunchListCheck, ACountBelowZero) {
    EXPECT_EQ(Check(ItemWith(R"("argc": -1)")),
              kItem +
                  "error: \"argc\" is -1: the program is started without even its own "
                  "path as its first argument, which many programs do not survive "
                  "[argc-negative]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": -0)")), kOk);
}

TEST(LaunchListCheck, ACountAboveTheMostTheLauncherPasses) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1048576)")),
              kItem + "error: \"argc\" is 1048576, more than 1048575: " + kAborts +
                  " [argc-too-large]\n");
    for (Finding const& finding :
         CheckLaunchList(ItemWith(R"("argc": 1048575)")).findings) {
        EXPECT_NE(finding.kind, "argc-too-large");
    }
}

TEST(LaunchListCheck, ArgumentsThatAreNoObject) {
    std::string const is_wrong = R"(, not an object with the keys "0", "1", ...: )";
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": ["x"])")),
        kItem + "error: \"args\" is an array" + is_wrong + kAborts + " [args-type]\n");
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": "x")")),
        kItem + "error: \"args\" is a string" + is_wrong + kAborts + " [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": ["x"])")),
              kItem + "warning: \"args\" is an array" + is_wrong +
                  "it is not looked at, as \"argc\" is not above 0 [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("args": "x")")),
              kItem + "warning: \"args\" is a string" + is_wrong +
                  "it is not looked at, as there is no \"argc\" [args-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x"})")), kOk);
}

TEST(LaunchListCheck, MoreArgumentsCountedThanThere) {
    std::string const ends =
        ": the program gets an empty string for each that is missing "
        "[missing-arguments]\n";
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x"})")),
              kItem + "warning: \"argc\" is 2, but \"args\" has no \"1\"" + ends);
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 12, "args": {"1": "x"})")),
        kItem +
            "warning: \"argc\" is 12, but \"args\" has no \"0\", \"2\", \"3\" and 8 "
            "more" +
            ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 1)")),
              kItem + "warning: \"argc\" is 1, but there is no \"args\"" + ends);
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": ""})")), kOk);
}

TEST(LaunchListCheck, FewerArgumentsCountedThanThere) {
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "x", "1": "y"})")),
              kItem +
                  "warning: \"argc\" is 1: the program does not get \"1\" of \"args\" "
                  "[ignored-arguments]\n");
    EXPECT_EQ(
        Check(ItemWith(R"("args": {"10": "k", "9": "j", "0": "a", "1": "b"})")),
        kItem +
            "warning: no \"argc\": the program does not get \"0\", \"1\", \"9\" and 1 "
            "more of \"args\" [ignored-arguments]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 2, "args": {"0": "x", "1": "y"})")), kOk);
}

TEST(LaunchListCheck, ArgumentsWhoseKeysAreNoNumbers) {
    for (std::string const key : {"01", "port", "+0", ""}) {
        EXPECT_EQ(
            Check(ItemWith(R"("argc": 1, "args": {"0": "x", ")" + key + R"(": "y"})")),
            kItem + "warning: \"args\" has the key \"" + key +
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
            kItem + "warning: argument \"0\" is " + type +
                ": the launcher takes it as \"" + text + "\" [argument-type]\n");
    }
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 1, "args": {"0": ["x"]})")),
        kItem + "error: argument \"0\" is an array: " + kAborts + " [argument-type]\n");
    EXPECT_EQ(Check(ItemWith(R"("argc": 1, "args": {"0": "7000"})")), kOk);
}

TEST(LaunchListCheck, MoreArgumentsThanTheSystemTakes) {
    auto const of_length = [](std::size_t length) {
        return ItemWith(R"("argc": 1, "args": {"0": ")" + std::string(length, 'x') +
                        "\"}");
    };
    CheckResult const result = CheckLaunchList(of_length(20'000'000));
    ASSERT_EQ(result.findings.size(), 1U);
    EXPECT_EQ(result.findings[0].kind, "arguments-size");
    EXPECT_EQ(result.findings[0].severity, Severity::Error);
    EXPECT_EQ(result.findings[0].message.substr(0, 48),
              "the arguments take 20000009 bytes, and the syste");
    EXPECT_EQ(Check(of_length(100'000)), kOk);
}

TEST(LaunchListCheck, MembersThatNobodyReads) {
    EXPECT_EQ(
        Check(ItemWith(R"("arg": {"0": "x"})")),
        kItem +
            "warning: the member \"arg\" means nothing to the launcher; did you mean "
            "\"args\"? [unknown-member]\n");
    EXPECT_EQ(Check(ItemWith(R"("user": "nobody")")),
              kItem +
                  "warning: the member \"user\" means nothing to the launcher "
                  "[unknown-member]\n");
    // What is there was not meant.
    EXPECT_EQ(Check(ItemWith(R"("argc": 0, "args": {}, "Args": {})")),
              kItem +
                  "warning: the member \"Args\" means nothing to the launcher "
                  "[unknown-member]\n");
    EXPECT_EQ(Check(ItemOf(R"("Name": "a", "program": "/bin/sh")")),
              "list.json: item \"0\": error: no \"name\": the launcher skips the item "
              "[no-name]\n"
              "list.json: item \"0\": warning: the member \"Name\" means nothing to the "
              "launcher; did you mean \"name\"? [unknown-member]\n");
}

TEST(LaunchListCheck, AFileThatCannotBeRead) {
    TempDirectory const directory;
    auto const check = [](std::string const& path) {
        return ToLines({{"list.json", CheckLaunchListFile(path)}});
    };
    EXPECT_EQ(check(directory.Path() / "missing"),
              "list.json: error: this cannot be opened: No such file or directory: the "
              "launcher ends without a word, with exit code 0 [unreadable]\n");
    EXPECT_EQ(
        check(directory.Path()),
        "list.json: error: this is a directory: the launcher reads it for ever, in a "
        "busy loop that only SIGKILL ends [directory]\n");
    EXPECT_EQ(check(directory.Write("list", ItemWith(""))), kOk);
}

TEST(LaunchListCheck, AFileThatIsLongerThanAnyList) {
    EXPECT_EQ(
        ToLines({{"list.json", CheckLaunchListFile("/dev/zero")}}),
        "list.json: error: this is longer than 64 MiB: no launch list, and not checked "
        "[too-large]\n");
}

}  // namespace
