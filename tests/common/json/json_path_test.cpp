// Paths and subscripts: what they lead to, and what they add.

#include <gtest/gtest.h>
#include <json/writer.h>

#include <limits>
#include <string>

#include "tests/common/json/json_values.h"

namespace {

using namespace std::string_literals;

AERROR CodeThrownForPath(JsonObject& document, char const* path) {
    return CodeThrownBy([&] { document.GetObject(path); });
}

TEST(JsonObjectPath, SlashesAtTheEndsAndInARowHaveNoEffect) {
    JsonObject document(R"({"name": "x", "a": {"b": 1}})");
    for (char const* const path : {"name", "/name", "name/", "//name", "///name//"}) {
        EXPECT_TRUE(document.HasObject(path)) << path;
        EXPECT_EQ(static_cast<std::string>(document.GetObject(path)), "x") << path;
    }
    for (char const* const path : {"a/b", "/a/b", "a//b/", "//a///b//"}) {
        EXPECT_TRUE(document.HasObject(path)) << path;
        EXPECT_EQ(static_cast<int>(document.GetObject(path)), 1) << path;
    }
}

TEST(JsonObjectPath, WithoutANameIsTheStartingValue) {
    for (char const* const text : {R"({"a":1})", "[1]", "12", "null"}) {
        JsonObject document(text);
        for (char const* const path : {"", "/", "//", "///"}) {
            EXPECT_TRUE(document.HasObject(path)) << path;
            JsonObject found = document.GetObject(path);
            EXPECT_EQ(ValueOf(found), Parsed(text)) << path;
            JsonObject copy = found;
            copy = "changed"s;
            EXPECT_EQ(Text(document), "changed") << path;
            document = JsonObject(text);
        }
    }
}

TEST(JsonObjectPath, StartsFromTheViewedValue) {
    JsonObject document(R"({"a": {"b": {"c": 1}}})");
    JsonObject view = document.GetObject("a");
    EXPECT_TRUE(view.HasObject("b/c"));
    EXPECT_FALSE(view.HasObject("a"));
    EXPECT_EQ(static_cast<int>(view.GetObject("/b/c")), 1);
    EXPECT_EQ(CodeThrownForPath(view, "a"), AERROR_NOT_FOUND);
}

TEST(JsonObjectPath, ResultIsAViewIntoTheDocument) {
    JsonObject document(R"({"a": {"b": 1}})");
    JsonObject view = document.GetObject("a/b");
    JsonObject copy = view;
    copy = "through a copy of the view"s;
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a": {"b": "through a copy of the view"}})"));
}

TEST(JsonObjectPath, TheFirstMissingMemberEndsItAndNothingIsAdded) {
    JsonObject document(R"({"a": {"b": 1}, "n": null})");
    Json::Value const before = ValueOf(document);
    for (char const* const path : {"x", "/x", "a/x", "x/b", "a/b2", "A", "n/x", "a/x/y",
                                   "n/x/y", " a", "a b", "b"}) {
        EXPECT_FALSE(document.HasObject(path)) << path;
        EXPECT_EQ(CodeThrownForPath(document, path), AERROR_NOT_FOUND) << path;
    }
    EXPECT_EQ(ValueOf(document), before);

    JsonObject null(nullptr);
    EXPECT_FALSE(null.HasObject("a"));
    EXPECT_EQ(CodeThrownForPath(null, "a"), AERROR_NOT_FOUND);
    EXPECT_FALSE(null.IsValid());
}

TEST(JsonObjectPath, AMemberThatIsNullIsThere) {
    JsonObject document(R"({"name": null})");
    EXPECT_TRUE(document.HasObject("/name"));
    EXPECT_FALSE(document.GetObject("name").IsValid());
}

TEST(JsonObjectPath, NamesAreLiteral) {
    JsonObject document(R"({"a.b": 1, "~1": 2, ".": 3, "..": 4, "*": 5, "a\\/b": 6,
                            "\\": 7, " ": 8, "\u00e9": 9, "\n": 10, "a/b": 11})");
    EXPECT_EQ(static_cast<int>(document.GetObject("a.b")), 1);
    EXPECT_EQ(static_cast<int>(document.GetObject("/~1")), 2);
    EXPECT_EQ(static_cast<int>(document.GetObject(".")), 3);
    EXPECT_EQ(static_cast<int>(document.GetObject("..")), 4);
    EXPECT_EQ(static_cast<int>(document.GetObject("*")), 5);
    EXPECT_EQ(static_cast<int>(document.GetObject("\\")), 7);
    EXPECT_EQ(static_cast<int>(document.GetObject("/ /")), 8);
    EXPECT_EQ(static_cast<int>(document.GetObject("\xC3\xA9")), 9);
    EXPECT_EQ(static_cast<int>(document.GetObject("\n")), 10);
    EXPECT_FALSE(document.HasObject("a/b"));
    EXPECT_FALSE(document.HasObject("a\\/b"));
}

TEST(JsonObjectPath, DigitsAreANameAndNeverAnIndex) {
    JsonObject list(R"({"0": {"name": "x"}, "1": {}, "a": [5]})");
    EXPECT_TRUE(list.HasObject(std::to_string(0).c_str()));
    EXPECT_TRUE(list.HasObject("1"));
    EXPECT_FALSE(list.HasObject("2"));
    EXPECT_FALSE(list.HasObject("00"));
    EXPECT_EQ(static_cast<std::string>(list.GetObject("0/name")), "x");

    // A member is asked of an array and of a number: the parser's failure, not an index.
    EXPECT_THROW(list.HasObject("a/0"), Json::LogicError);
    EXPECT_THROW(list.GetObject("a/0"), Json::LogicError);
    JsonObject number(R"({"a":1})");
    EXPECT_THROW(number.HasObject("a/b"), Json::LogicError);
    EXPECT_THROW(number.GetObject("a/b"), Json::LogicError);
    JsonObject text(R"("a")");
    EXPECT_THROW(text.HasObject("a"), Json::LogicError);
}

TEST(JsonObjectPath, MayBeLong) {
    std::string const name(100000, 'n');
    JsonObject document((R"({")" + name + R"(":{"b":1}})").c_str());
    EXPECT_TRUE(document.HasObject((name + "/b").c_str()));
    EXPECT_FALSE(document.HasObject((name + "n/b").c_str()));
    EXPECT_TRUE(document.HasObject(std::string(100000, '/').c_str()));
}

TEST(JsonObjectSubscript, OfANameIsAViewOnThatMember) {
    JsonObject document(R"({"a": {"b": 1}, "/a": 2, "a/b": 3, "": 4})");
    EXPECT_EQ(static_cast<int>(document["a"]["b"]), 1);
    EXPECT_EQ(static_cast<int>(document["/a"]), 2);
    EXPECT_EQ(static_cast<int>(document["a/b"]), 3);
    EXPECT_EQ(static_cast<int>(document[""]), 4);
    JsonObject view = document["a"];
    JsonObject copy = view;
    copy = "changed"s;
    EXPECT_EQ(static_cast<std::string>(document["a"]), "changed");
}

TEST(JsonObjectSubscript, OfAMissingNameAddsANull) {
    JsonObject document(R"({"a":1})");
    EXPECT_FALSE(document["/name"].IsValid());
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a": 1, "/name": null})"));

    JsonObject null(nullptr);
    EXPECT_FALSE(null["a"].IsValid());
    EXPECT_EQ(ValueOf(null), Parsed(R"({"a":null})"));

    JsonObject nested(R"({"n":null})");
    nested["n"]["x"] = "text"s;
    EXPECT_EQ(ValueOf(nested), Parsed(R"({"n": {"x": "text"}})"));
}

TEST(JsonObjectSubscript, OfANameOnAnArrayOrAScalarIsTheParsersFailure) {
    for (char const* const text : {"[1]", "1", R"("a")", "true"}) {
        JsonObject document(text);
        EXPECT_THROW(document["a"], Json::LogicError) << text;
        EXPECT_EQ(ValueOf(document), Parsed(text));
    }
}

TEST(JsonObjectSubscript, OfAnIndexIsAViewOnThatElement) {
    JsonObject document("[1,[2,3]]");
    EXPECT_EQ(static_cast<int>(document[0]), 1);
    EXPECT_EQ(static_cast<int>(document[1][1]), 3);
    JsonObject copy = document[0];
    copy = "changed"s;
    EXPECT_EQ(ValueOf(document), Parsed(R"(["changed",[2,3]])"));
}

// An array need not store the nulls that it grew by, and then differs from one that does.
// As text the two are the same.
std::string WrittenText(JsonObject& handle) {
    return Json::FastWriter().write(ValueOf(handle));
}

TEST(JsonObjectSubscript, OfAnIndexPastTheEndGrowsTheArrayWithNulls) {
    JsonObject document("[1]");
    EXPECT_FALSE(document[2].IsValid());
    EXPECT_EQ(WrittenText(document), "[1,null,null]\n");
    EXPECT_EQ(document.GetArraySize(), 3U);

    JsonObject next("[1]");
    EXPECT_FALSE(next[1].IsValid());
    EXPECT_EQ(WrittenText(next), "[1,null]\n");

    JsonObject null(nullptr);
    null[1] = "text"s;
    EXPECT_EQ(WrittenText(null), "[null,\"text\"]\n");
}

TEST(JsonObjectSubscript, OfAnIndexOnAnObjectOrAScalarIsTheParsersFailure) {
    for (char const* const text : {"{}", R"({"0":1})", "1", R"("a")", "true"}) {
        JsonObject document(text);
        EXPECT_THROW(document[0], Json::LogicError) << text;
        EXPECT_EQ(ValueOf(document), Parsed(text));
    }
    JsonObject array("[1]");
    EXPECT_THROW(array[-1], Json::LogicError);
    EXPECT_THROW(array[std::numeric_limits<int>::min()], Json::LogicError);
    EXPECT_EQ(ValueOf(array), Parsed("[1]"));
}

TEST(JsonObjectSubscript, OfAHugeIndexTakesNoMemory) {
    JsonObject array("[1]");
    EXPECT_FALSE(array[2147483647].IsValid());
    EXPECT_EQ(array.GetArraySize(), 2147483648U);
}

TEST(JsonObjectSubscript, OfAFractionIsThatOfTheWholeNumber) {
    JsonObject array("[0, 1, 2, 3]");
    // NOLINTNEXTLINE(bugprone-narrowing-conversions): it is what is shown.
    EXPECT_EQ(static_cast<int>(array[2.9]), 2);
}

}  // namespace
