// How a JsonObject is edited: Insert, InsertArrayItem, Remove, RemoveArrayItem, Copy.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>

#include <stdexcept>

#include "common/json/json_object.h"

namespace {

using testing::ElementsAre;

TEST(JsonEditing, TheEditingExampleOfItsHeader) {
    JsonObject list(R"({"0": {"name": "agent", "argc": 1}})");
    JsonObject item = list["0"];
    item.Remove("argc");
    item.Insert("name", L"caf\u00E9");
    list.Insert("1", JsonObject("{}"));
    EXPECT_EQ(list.ToText(), R"({"0":{"name":"caf\u00e9"},"1":{}})");
}

TEST(JsonEditing, TheExampleOfItsHeaderOfSettingAMember) {
    JsonObject doc(R"({"a": 1})");
    JsonObject other(R"({"x": [7]})");
    doc["a"] = JsonObject("5");
    EXPECT_EQ(doc.ToText(), R"({"a":1})");
    doc.Insert("a", JsonObject("5"));
    EXPECT_EQ(doc.ToText(), R"({"a":5})");
    doc["a"] = std::string("text");
    EXPECT_EQ(doc.ToText(), R"({"a":"text"})");
    doc["a"] = other["x"];
    EXPECT_EQ(doc.ToText(), R"({"a":[7]})");
}

TEST(Insert, AddsAMemberAndReturnsTrue) {
    JsonObject object = JsonObject::GetEmptyObject();
    EXPECT_TRUE(object.Insert("k", JsonObject("[1, {\"a\": null}]")));
    EXPECT_EQ(object.ToText(), R"({"k":[1,{"a":null}]})");
}

TEST(Insert, ReplacesAMemberThatExistsAndReturnsTrue) {
    JsonObject object(R"({"k": {"old": 1}, "other": 2})");
    EXPECT_TRUE(object.Insert("k", JsonObject("3")));
    EXPECT_EQ(object.ToText(), R"({"k":3,"other":2})");
    EXPECT_TRUE(object.Insert("k", L"text"));
    EXPECT_EQ(object.ToText(), R"({"k":"text","other":2})");
}

TEST(Insert, TakesTheKeyLiterallyAndNotAsAPath) {
    JsonObject object = JsonObject::GetEmptyObject();
    object.Insert("a/b", JsonObject("1"));
    object.Insert("/c/", L"d");
    EXPECT_EQ(object.ToText(), R"({"/c/":"d","a/b":1})");
    EXPECT_THAT(object.GetKeys(), ElementsAre("/c/", "a/b"));
    EXPECT_FALSE(object.HasObject("a"));
    object.Insert("", JsonObject("2"));
    EXPECT_EQ(object.ToText(), R"({"":2,"/c/":"d","a/b":1})");
}

TEST(Insert, MakesAnObjectOfANullValue) {
    JsonObject with_value(nullptr);
    EXPECT_TRUE(with_value.Insert("k", JsonObject("1")));
    EXPECT_EQ(with_value.ToText(), R"({"k":1})");
    JsonObject with_text(nullptr);
    EXPECT_TRUE(with_text.Insert("k", L"v"));
    EXPECT_EQ(with_text.ToText(), R"({"k":"v"})");
}

TEST(Insert, CopiesDeeplyAndLeavesItsArgument) {
    JsonObject object = JsonObject::GetEmptyObject();
    JsonObject value(R"({"a": 1})");
    object.Insert("k", value);
    value.Insert("a", JsonObject("2"));
    EXPECT_EQ(object.ToText(), R"({"k":{"a":1}})");
    object["k"].Insert("a", JsonObject("3"));
    EXPECT_EQ(value.ToText(), R"({"a":2})");
}

TEST(Insert, InsertsWhatAViewRefersToAndThroughAView) {
    JsonObject source(R"({"in": {"a": 1}})");
    JsonObject document(R"({"list": {}})");
    JsonObject view = document["list"];
    EXPECT_TRUE(view.Insert("k", source["in"]));
    EXPECT_TRUE(view.Insert("t", L"x"));
    EXPECT_EQ(document.ToText(), R"({"list":{"k":{"a":1},"t":"x"}})");
    EXPECT_EQ(source.ToText(), R"({"in":{"a":1}})");
}

TEST(Insert, OfADocumentIntoItselfInsertsWhatWasThereBefore) {
    JsonObject document(R"({"a": 1})");
    document.Insert("self", document);
    EXPECT_EQ(document.ToText(), R"({"a":1,"self":{"a":1}})");

    JsonObject with_part(R"({"a": {"b": {"c": 1}}})");
    JsonObject part = with_part["a"]["b"];
    with_part.Insert("a", part);
    EXPECT_EQ(with_part.ToText(), R"({"a":{"c":1}})");

    JsonObject with_whole(R"({"a": {"b": 1}})");
    JsonObject inner = with_whole["a"];
    inner.Insert("b", with_whole);
    EXPECT_EQ(with_whole.ToText(), R"({"a":{"b":{"a":{"b":1}}}})");

    JsonObject null_document(nullptr);
    null_document.Insert("self", null_document);
    EXPECT_EQ(null_document.ToText(), R"({"self":null})");
}

TEST(Insert, WideTextBecomesAJsonStringInUtf8AndIsNotParsed) {
    JsonObject object = JsonObject::GetEmptyObject();
    EXPECT_TRUE(object.Insert("k", L"{\u00E9\U0001F600\n\"}"));
    EXPECT_EQ(std::string(object["k"]), "{\xC3\xA9\xF0\x9F\x98\x80\n\"}");
    EXPECT_TRUE(object.Insert("k", std::wstring(L"a\0b", 3)));
    EXPECT_EQ(object.ToText(), R"({"k":"a\u0000b"})");
    EXPECT_TRUE(object.Insert("k", L""));
    EXPECT_EQ(object.ToText(), R"({"k":""})");
}

TEST(Insert, InvalidWideTextThrowsAndLeavesTheDocumentAsItWas) {
    std::wstring const invalid[] = {std::wstring(1, wchar_t(0xD800)),
                                    L"a" + std::wstring(1, wchar_t(0xDFFF)),
                                    L"a" + std::wstring(1, wchar_t(0x110000))};
    for (std::wstring const& text : invalid) {
        JsonObject object(R"({"old": 1})");
        JsonObject null_object(nullptr);
        for (char const* const key : {"old", "new"}) {
            try {
                object.Insert(key, text);
                ADD_FAILURE() << "nothing was thrown";
            } catch (std::range_error const& error) {
                EXPECT_STREQ(error.what(), "wstring_convert: to_bytes error");
            }
            EXPECT_THROW(null_object.Insert(key, text), std::range_error);
        }
        EXPECT_EQ(object.ToText(), R"({"old":1})");
        EXPECT_FALSE(null_object.IsValid());
    }
}

TEST(Insert, InvalidWideTextThrowsBeforeAWrongTargetDoes) {
    for (char const* const target : {"[1]", "\"text\"", "7"}) {
        JsonObject value(target);
        EXPECT_THROW(value.Insert("k", std::wstring(1, wchar_t(0xD800))),
                     std::range_error);
        EXPECT_EQ(value.ToText(), target);
    }
}

TEST(Insert, ACharacterPointerIsParsedAsJson) {
    JsonObject object = JsonObject::GetEmptyObject();
    EXPECT_TRUE(object.Insert("k", "[1]"));
    EXPECT_EQ(object.ToText(), R"({"k":[1]})");
    EXPECT_THROW(object.Insert("k", "text"), AERROR);
}

TEST(Insert, IntoAnythingButAnObjectOrNullThrowsWhatJsoncppThrows) {
    for (char const* const text : {"[1]", "\"text\"", "7"}) {
        JsonObject value(text);
        std::string const before = value.ToText();
        EXPECT_THROW(value.Insert("k", JsonObject("1")), Json::Exception) << text;
        EXPECT_THROW(value.Insert("k", L"1"), Json::Exception) << text;
        EXPECT_EQ(value.ToText(), before);
    }
}

TEST(InsertArrayItem, MakesAnArrayOfANullValue) {
    JsonObject with_text(nullptr);
    EXPECT_TRUE(with_text.InsertArrayItem("x"));
    EXPECT_EQ(with_text.ToText(), R"(["x"])");
    JsonObject with_item(nullptr);
    JsonObject item(R"({"a": 1})");
    EXPECT_TRUE(with_item.InsertArrayItem(item));
    EXPECT_EQ(with_item.ToText(), R"([{"a":1}])");
}

TEST(InsertArrayItem, AppendsAfterTheLastElement) {
    JsonObject array("[1]");
    JsonObject item("[2]");
    EXPECT_TRUE(array.InsertArrayItem(item));
    EXPECT_TRUE(array.InsertArrayItem("three"));
    EXPECT_TRUE(array.InsertArrayItem(std::string("[4]")));
    EXPECT_EQ(array.ToText(), R"([1,[2],"three","[4]"])");
    EXPECT_EQ(item.ToText(), "[2]");
}

TEST(InsertArrayItem, CopiesDeeplyAndThroughAView) {
    JsonObject document(R"({"list": [], "item": {"a": 1}})");
    JsonObject list = document["list"];
    JsonObject item = document["item"];
    EXPECT_TRUE(list.InsertArrayItem(item));
    item.Insert("a", JsonObject("2"));
    EXPECT_EQ(document.ToText(), R"({"item":{"a":2},"list":[{"a":1}]})");
}

TEST(InsertArrayItem, OfADocumentIntoItselfInsertsWhatWasThereBefore) {
    JsonObject array("[1, 2]");
    array.InsertArrayItem(array);
    EXPECT_EQ(array.ToText(), "[1,2,[1,2]]");

    JsonObject element = array[2];
    element.InsertArrayItem(array);
    EXPECT_EQ(array.ToText(), "[1,2,[1,2,[1,2,[1,2]]]]");

    JsonObject null_document(nullptr);
    null_document.InsertArrayItem(null_document);
    EXPECT_EQ(null_document.ToText(), "[null]");
}

TEST(InsertArrayItem, ATemporaryIsReadOutAsText) {
    JsonObject array("[]");
    JsonObject source(R"({"number": 7, "object": {}})");
    array.InsertArrayItem(source["number"]);
    EXPECT_EQ(array.ToText(), R"(["7"])");
    EXPECT_THROW(array.InsertArrayItem(source["object"]), Json::Exception);
}

TEST(InsertArrayItem, TextIsTakenWithItsNuls) {
    JsonObject array("[]");
    array.InsertArrayItem(std::string("a\0b", 3));
    EXPECT_EQ(array.ToText(), R"(["a\u0000b"])");
}

TEST(InsertArrayItem, IntoAnythingButAnArrayOrNullThrowsWhatJsoncppThrows) {
    for (char const* const text : {"{}", "\"text\"", "7"}) {
        JsonObject value(text);
        JsonObject item("1");
        EXPECT_THROW(value.InsertArrayItem("x"), Json::Exception) << text;
        EXPECT_THROW(value.InsertArrayItem(item), Json::Exception) << text;
    }
}

TEST(RemoveArrayItem, RemovesOneAndMovesTheLaterOnesDown) {
    JsonObject array("[0, 1, 2, 3]");
    EXPECT_TRUE(array.RemoveArrayItem(1));
    EXPECT_EQ(array.ToText(), "[0,2,3]");
    EXPECT_TRUE(array.RemoveArrayItem(2));
    EXPECT_EQ(array.ToText(), "[0,2]");
    EXPECT_TRUE(array.RemoveArrayItem(0));
    EXPECT_TRUE(array.RemoveArrayItem(0));
    EXPECT_EQ(array.ToText(), "[]");
    EXPECT_FALSE(array.RemoveArrayItem(0));
}

TEST(RemoveArrayItem, CutsTheIndexToItsLow32Bits) {
    JsonObject array("[0, 1]");
    EXPECT_TRUE(array.RemoveArrayItem(4294967296));
    EXPECT_EQ(array.ToText(), "[1]");
    EXPECT_FALSE(array.RemoveArrayItem(4294967297));
    EXPECT_EQ(array.ToText(), "[1]");
}

TEST(RemoveArrayItem, NullsThatOnlyFillAGapAreNoElements) {
    JsonObject array("[1]");
    array[3] = std::string("last");
    EXPECT_FALSE(array.RemoveArrayItem(1));
    EXPECT_FALSE(array.RemoveArrayItem(2));
    EXPECT_EQ(array.ToText(), R"([1,null,null,"last"])");
    EXPECT_TRUE(array.RemoveArrayItem(3));
    EXPECT_EQ(array.ToText(), "[1]");

    JsonObject touched("[1]");
    touched[3] = std::string("last");
    EXPECT_FALSE(touched[1].IsValid());
    EXPECT_TRUE(touched.RemoveArrayItem(1));
    EXPECT_EQ(touched.ToText(), R"([1,null,"last"])");
    EXPECT_TRUE(touched.RemoveArrayItem(2));
    EXPECT_EQ(touched.ToText(), "[1,null]");
}

TEST(RemoveArrayItem, IsFalseBeyondTheEndAndForAnythingButAnArray) {
    JsonObject array("[0]");
    EXPECT_FALSE(array.RemoveArrayItem(1));
    EXPECT_FALSE(array.RemoveArrayItem(ULONG_MAX));
    EXPECT_EQ(array.ToText(), "[0]");
    for (char const* const text : {"{\"0\":1}", "\"text\"", "7", "null"}) {
        JsonObject value(text);
        EXPECT_FALSE(value.RemoveArrayItem(0)) << text;
        EXPECT_EQ(value.ToText(), text);
    }
}

TEST(Remove, RemovesTheMemberAndNothingElse) {
    JsonObject document(R"({"in": {"a": 1, "b": {"c": 2}, "b/c": 3}})");
    JsonObject view = document["in"];
    EXPECT_TRUE(view.Remove("b"));
    EXPECT_EQ(document.ToText(), R"({"in":{"a":1,"b/c":3}})");
    EXPECT_TRUE(view.Remove("b/c"));
    EXPECT_EQ(document.ToText(), R"({"in":{"a":1}})");
}

TEST(Remove, IsFalseForAMissingMemberAndForAnythingButAnObject) {
    for (char const* const text :
         {R"({"a":{"b":1}})", "{}", "[1]", "\"text\"", "7", "null"}) {
        JsonObject value(text);
        EXPECT_FALSE(value.Remove("b")) << text;
        EXPECT_FALSE(value.Remove("a/b")) << text;
        EXPECT_FALSE(value.Remove("")) << text;
        EXPECT_EQ(value.ToText(), text);
    }
}

TEST(GetKeys, ListsTheNamesOfTheMembers) {
    JsonObject object(R"({"b": 1, "a": {"x": 1}, "B": null, "": 2, "\u00e9": 3})");
    EXPECT_THAT(object.GetKeys(), ElementsAre("", "B", "a", "b", "\xC3\xA9"));
    EXPECT_THAT(object["a"].GetKeys(), ElementsAre("x"));
    EXPECT_THAT(JsonObject("{}").GetKeys(), ElementsAre());
    EXPECT_THAT(JsonObject(nullptr).GetKeys(), ElementsAre());
    EXPECT_THROW(JsonObject("[1]").GetKeys(), Json::Exception);
}

TEST(Copy, IsAViewOnTheSameValue) {
    JsonObject object(R"({"a": 1})");
    JsonObject copy = object.Copy();
    EXPECT_TRUE(copy.Insert("b", JsonObject("2")));
    EXPECT_EQ(object.ToText(), R"({"a":1,"b":2})");
    EXPECT_TRUE(object.Remove("a"));
    EXPECT_EQ(copy.ToText(), R"({"b":2})");
    // A copy of it is a view in turn, which a copy of an owning object would not be.
    JsonObject second(copy);
    second.Insert("c", JsonObject("3"));
    EXPECT_EQ(object.ToText(), R"({"b":2,"c":3})");
}

TEST(Copy, OfAViewRefersToTheSameDocument) {
    JsonObject document(R"({"in": {"a": 1}})");
    JsonObject view = document["in"];
    view.Copy().Remove("a");
    EXPECT_EQ(document.ToText(), R"({"in":{}})");
}

TEST(Copy, AssignedToAnOwningObjectIsAPrivateCopy) {
    JsonObject document(R"({"a": 1})");
    JsonObject own(nullptr);
    own = document.Copy();
    own.Remove("a");
    EXPECT_EQ(document.ToText(), R"({"a":1})");
}

}  // namespace
