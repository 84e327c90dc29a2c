// Findings about the text of a list and its keys: a list that has the fault alone, and
// the nearest list without it.

#include "tools/launchlist_check/list_check.h"

#include <gtest/gtest.h>

#include "tests/tools/launchlist_check/checked.h"

namespace launchlist_check {
namespace {

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
    EXPECT_EQ(Check("// my list\n{\"$schema\": \"s\", /* the first */ \"0\": {\"name\": "
                    "\"a\", // its name\n \"program\": \"/bin/sh\"}}\n// end\n"),
              kOk);
}

TEST(LaunchListCheck, AnEmptyFile) {
    EXPECT_EQ(Check(""),
              "list.json: error: this is empty: the launcher ends without a word, with "
              "exit code 0 [empty]\n");
    EXPECT_EQ(CheckAt("\n"),
              "list.json:2:1: error: this is not JSON: Syntax error: value, object or "
              "array expected: the launcher ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TextThatIsNotJson) {
    std::string const line_3 =
        "{\n\"0\": {\"name\": \"\xC3\xA9\"\n  \"program\": \"/bin/sh\"}}";
    EXPECT_EQ(CheckAt(line_3),
              "list.json:3:3: error: this is not JSON: Missing ',' or '}' in object "
              "declaration: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(CheckAt("{\"0\": 1e\n}"),
              "list.json:1:7: error: this is not JSON: '1e' is not a number: the "
              "launcher ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TheMistakesMadeMostOftenInJsonAreNamed) {
    EXPECT_EQ(
        CheckAt(R"({"0": {"name": "a", "program": "/bin/sh",}})"),
        "list.json:1:42: error: this is not JSON: Missing '}' or object member name "
        "(remove the comma before it): the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(CheckAt("{'0': {}}"),
              "list.json:1:2: error: this is not JSON: Missing '}' or object member name "
              "(strings need double quotation marks): the launcher ends with exit code 0 "
              "[not-json]\n");
    EXPECT_EQ(CheckAt("\xEF\xBB\xBF" + ItemWith("")),
              "list.json:1:1: error: this is not JSON: Syntax error: value, object or "
              "array expected (the file begins with a byte-order mark): the launcher "
              "ends with exit code 0 [not-json]\n");
}

TEST(LaunchListCheck, TextThatIsNestedTooDeeply) {
    auto const nested = [](std::size_t depth) {
        return ItemWith("\"x\": " + std::string(depth, '[') + std::string(depth, ']'));
    };
    EXPECT_EQ(Check(nested(2000)),
              "list.json: error: this is nested too deeply: the launcher ends with exit "
              "code 0 [too-deep]\n");
    EXPECT_EQ(
        Check(nested(900)),
        kWarning + "the member \"x\" means nothing to the launcher [unknown-member]\n");
}

TEST(LaunchListCheck, AZeroByte) {
    std::string const list = ItemWith("");
    EXPECT_EQ(CheckAt(list + "\n" + std::string(1, '\0') + "\n"),
              "list.json:2:1: error: there is a zero byte: the launcher reads nothing "
              "from here on [zero-byte]\n");
    EXPECT_EQ(CheckAt(std::string(1, '\0') + list),
              "list.json:1:1: error: there is a zero byte: the launcher reads nothing "
              "from here on [zero-byte]\n"
              "list.json:1:1: error: this is not JSON: Syntax error: value, object or "
              "array expected: the launcher ends with exit code 0 [not-json]\n");
    EXPECT_EQ(Check(list + "\n\n"), kOk);
}

TEST(LaunchListCheck, TextAfterTheList) {
    EXPECT_EQ(CheckAt(ItemWith("") + ",\n \"1\": {}}"),
              "list.json:1:43: error: the list has ended before this: the launcher "
              "ignores the rest [text-behind]\n");
    EXPECT_EQ(CheckAt(ItemWith("") + "\n}"),
              "list.json:2:1: error: the list has ended before this: the launcher "
              "ignores the rest [text-behind]\n");
    EXPECT_EQ(Check(ItemWith("") + " /* end */ \n"), kOk);
}

TEST(LaunchListCheck, AListThatIsNotAnObject) {
    std::string const begin = "list.json: error: this is ";
    std::string const end =
        ", not an object with the keys \"0\", \"1\", ...: the launcher ends with exit "
        "code 0 [not-an-object]\n";
    EXPECT_EQ(Check("[]"), begin + "an array" + end);
    EXPECT_EQ(Check("[" + ItemWith("") + "]"), begin + "an array" + end);
    EXPECT_EQ(Check("7"), begin + "a number" + end);
    EXPECT_EQ(Check("\"0\""), begin + "a string" + end);
    EXPECT_EQ(Check("true"), begin + "true" + end);
    EXPECT_EQ(Check("null"), begin +
                                 "null, not an object with the keys \"0\", \"1\", ...: "
                                 "nothing is started [not-an-object]\n");
}

TEST(LaunchListCheck, AListWithoutItems) {
    EXPECT_EQ(Check("{}"),
              "list.json: warning: there is no item \"0\": the launcher runs and starts "
              "nothing [no-items]\n");
}

TEST(LaunchListCheck, AKeyThatIsThereTwice) {
    std::string const text =
        " is here again: what stood there before is ignored [repeated-key]\n";
    EXPECT_EQ(CheckAt("{\"0\": {},\n" + ItemWith("").substr(1)),
              "list.json:2:1: error: the key \"0\"" + text);
    EXPECT_EQ(CheckAt(ItemWith("\n\"name\": \"b\"")),
              "list.json:2:1: error: item \"0\" (b): the key \"name\"" + text);
    EXPECT_EQ(CheckAt(ItemWith("\"argc\": 1, \"args\": {\n\"0\": \"x\",\n\"0\": \"y\"}")),
              "list.json:3:1: error: item \"0\" (a): the key \"0\"" + text);
    EXPECT_EQ(Check(ItemWith("\"argc\": 2, \"args\": {\n\"0\": \"x\",\n\"1\": \"y\"}")),
              kOk);
    EXPECT_EQ(
        Check(ItemWith(R"("argc": 0, "args": {}, "x": {"a": 1, "a": 2})")),
        kWarning + "the member \"x\" means nothing to the launcher [unknown-member]\n");
    // The launcher looks up nothing in there.
    EXPECT_EQ(
        Check(
            R"({"$schema": {"a": 1, "a": 2}, "0": {"name": "a", "program": "/bin/sh"}})"),
        kOk);
}

TEST(LaunchListCheck, AnItemAfterAMissingNumber) {
    std::string const item = R"({"name": "b", "program": "/bin/sh"})";
    std::string const list = ItemWith("");
    auto const with = [&](std::string const& number) {
        return list.substr(0, list.size() - 1) + ", \"" + number + "\": " + item + "}";
    };
    EXPECT_EQ(Check(with("2")),
              "list.json: error: item \"2\" (b): never reached: the launcher stops at "
              "the first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("99999999999999999999")),
              "list.json: error: item \"99999999999999999999\" (b): never reached: the "
              "launcher stops at the first number that is missing, \"1\" [unreached]\n");
    EXPECT_EQ(Check(with("1")), "list.json: ok, 2 programs\n");
    EXPECT_EQ(Check("{\"1\": " + item + "}"),
              "list.json: error: item \"1\" (b): never reached: the launcher stops at "
              "the first number that is missing, \"0\" [unreached]\n");
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

TEST(LaunchListCheck, AKeyThatIsNotANumber) {
    std::string const list = ItemWith("");
    for (std::string const key : {"comment", "one", "", "1a", ".", "+"}) {
        EXPECT_EQ(
            Check(list.substr(0, list.size() - 1) + ", \"" + key + "\": 1}"),
            "list.json: warning: the key \"" + key +
                "\" is not an item number: the launcher ignores it [unknown-key]\n");
    }
}

TEST(LaunchListCheck, MoreValuesThanTheMemoryShouldHold) {
    std::string list = "[1";
    for (int i = 0; i < 8'000'000; ++i) {
        list += ",1";
    }
    EXPECT_EQ(Check(list + "]"),
              "list.json: error: this has more than 8 million values, too many for a "
              "launch list: it is not checked [too-large]\n");
}

TEST(LaunchListCheck, ManyRepeatedKeysOnOneLineTakeNoLongerThanTheirNumber) {
    std::string list = R"({"0": {"name": "a", "program": "/bin/sh")";
    for (int i = 0; i < 100'000; ++i) {
        list += R"(, "argc": 0)";
    }
    EXPECT_EQ(CheckLaunchList(list + "}}").findings.Count(Severity::Error), 99'999U);
}

}  // namespace
}  // namespace launchlist_check
