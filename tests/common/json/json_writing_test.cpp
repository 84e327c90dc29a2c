// What JsonObject writes: its text in one line, its styled text, and the comments in it.

#include <gtest/gtest.h>
#include <json/value.h>

#include "common/json/json_object.h"
#include "tests/support/locale_in_use.h"

namespace {

TEST(ToText, IsOneLineWithoutALineBreakAtItsEnd) {
    EXPECT_EQ(JsonObject::GetEmptyObject().ToText(), "{}");
    EXPECT_EQ(JsonObject(nullptr).ToText(), "null");
    EXPECT_EQ(JsonObject(" [ 1 , \"a b\" , { } , true ] ").ToText(),
              R"([1,"a b",{},true])");
    EXPECT_EQ(JsonObject(R"({"b": 1, "a": [null, 0.5]})").ToText(),
              R"({"a":[null,0.5],"b":1})");
}

TEST(ToText, WritesWhatAViewRefersTo) {
    JsonObject document(R"({"in": {"a": [1]}})");
    EXPECT_EQ(document["in"].ToText(), R"({"a":[1]})");
    EXPECT_EQ(document["in"]["a"].ToStyledText(), "[ 1 ]");
}

TEST(ToText, KeepsBlanksInsideStrings) {
    JsonObject text(nullptr);
    text = std::string(" \n\xC2\xA0 ");
    EXPECT_EQ(text.ToText(), R"(" \n\u00a0 ")");
    EXPECT_EQ(text.ToStyledText(), R"(" \n\u00a0 ")");
}

TEST(ToStyledText, IsIndentedWithoutWhiteSpaceAtItsEnds) {
    EXPECT_EQ(JsonObject::GetEmptyObject().ToStyledText(), "{}");
    EXPECT_EQ(JsonObject(nullptr).ToStyledText(), "null");
    EXPECT_EQ(JsonObject(R"({"a": {"b": [1, 2]}, "c": "d"})").ToStyledText(),
              "{\n"
              "   \"a\" : {\n"
              "      \"b\" : [ 1, 2 ]\n"
              "   },\n"
              "   \"c\" : \"d\"\n"
              "}");
}

TEST(ToStyledText, CarriesTheCommentsThatWereParsed) {
    char const text[] = "// head\n{\n   \"a\" : 1 // one\n}\n// tail\n";
    EXPECT_EQ(JsonObject(text).ToStyledText(),
              "// head\n{\n   \"a\" : 1 // one\n}\n// tail");
    EXPECT_EQ(JsonObject(text).ToText(), R"({"a":1})");
    EXPECT_EQ(JsonObject(text, sizeof text - 1).ToStyledText(), "{\n   \"a\" : 1\n}");
}

// A value that replaces another one brings its own comments. The comments of the replaced
// value go with that.

char const kCommented[] = "{\n   // old\n   \"a\" : 1\n}";

TEST(Comments, ComeWithACopyOfAnOwningObject) {
    JsonObject owner("// head\n[ 1 ]\n// tail\n");
    EXPECT_EQ(JsonObject(owner).ToStyledText(), "// head\n[ 1 ]\n// tail");
}

TEST(Comments, ComeWithAnAssignedOwningObjectAndReplaceThoseBefore) {
    JsonObject owner("// new\n[ 1 ]");
    JsonObject target("// old\n{}");
    target = owner;
    EXPECT_EQ(target.ToStyledText(), "// new\n[ 1 ]");
    JsonObject plain("[2]");
    target = plain;
    EXPECT_EQ(target.ToStyledText(), "[ 2 ]");
}

TEST(Comments, ComeWithAnAssignedViewAndReplaceThoseBefore) {
    JsonObject source("{\n// new\n\"x\" : [ 7 ], \"plain\" : 8 }");
    JsonObject document(kCommented);
    document["a"] = source["x"];
    EXPECT_EQ(document.ToStyledText(), "{\n   // new\n   \"a\" : [ 7 ]\n}");
    document["a"] = source["plain"];
    EXPECT_EQ(document.ToStyledText(), "{\n   \"a\" : 8\n}");
    JsonObject owner(nullptr);
    owner = source["x"];
    EXPECT_EQ(owner.ToStyledText(), "// new\n[ 7 ]");
}

TEST(Comments, GoWithTheValueThatAssignedTextReplaces) {
    JsonObject document(kCommented);
    document["a"] = std::string("text");
    EXPECT_EQ(document.ToStyledText(), "{\n   \"a\" : \"text\"\n}");
}

TEST(Comments, ComeWithAnInsertedValueAndReplaceThoseBefore) {
    JsonObject document(kCommented);
    document.Insert("a", JsonObject("// new\n[ 7 ]"));
    EXPECT_EQ(document.ToStyledText(), "{\n   // new\n   \"a\" : [ 7 ]\n}");
    document.Insert("a", JsonObject("8"));
    EXPECT_EQ(document.ToStyledText(), "{\n   \"a\" : 8\n}");
}

TEST(Comments, GoWithTheValueThatInsertedTextReplaces) {
    JsonObject document(kCommented);
    document.Insert("a", L"text");
    EXPECT_EQ(document.ToStyledText(), "{\n   \"a\" : \"text\"\n}");
}

TEST(Comments, ComeWithAnAppendedElement) {
    JsonObject array("[]");
    JsonObject item("// new\n[ 7 ]");
    array.InsertArrayItem(item);
    array.InsertArrayItem("text");
    EXPECT_EQ(array.ToStyledText(), "[\n   // new\n   [ 7 ],\n   \"text\"\n]");
    EXPECT_EQ(item.ToStyledText(), "// new\n[ 7 ]");
}

TEST(ToText, BytesThatAreNotUtf8AreWrittenAsOtherCharacters) {
    EXPECT_EQ(JsonObject("\"a\xE9\"").ToText(), R"("a\ufffd")");
    EXPECT_EQ(JsonObject("\"a\xE9xy\"").ToStyledText(), R"("a\u9e39")");
    EXPECT_EQ(std::string(JsonObject("\"a\xE9xy\"")), "a\xE9xy");
}

TEST(ToText, HasADecimalPointInEveryLocale) {
    InEveryLocale([] {
        Json::Value value(1234.5);
        EXPECT_EQ(JsonObject(value).ToText(), "1234.5");
        EXPECT_EQ(std::string(JsonObject(value)), "1234.5");
    });
}

TEST(ToText, IsReadBackAsTheSameValue) {
    char const* const text =
        R"({"a":[1,-2,0.5,true,null,"\u00e9\ud83d\ude00\\\""],"b":{}})";
    JsonObject const object(text);
    EXPECT_EQ(JsonObject(JsonObject(object).ToText().c_str()).ToText(), text);
    EXPECT_EQ(JsonObject(JsonObject(object).ToStyledText().c_str()).ToText(), text);
}

}  // namespace
