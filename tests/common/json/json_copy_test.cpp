// Copies and assignments, between handles of three kinds: the owner of a document, the
// owner of a document that is null, and the view.

#include <gtest/gtest.h>

#include <memory>

#include "tests/common/json/json_values.h"

namespace {

using namespace std::string_literals;

TEST(JsonObjectCopy, OfAnOwningObjectIsIndependent) {
    JsonObject owner(R"({"a":"old"})");
    JsonObject copy = owner;
    copy["a"] = "of the copy"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":"old"})"));
    owner["a"] = "of the owner"s;
    EXPECT_EQ(ValueOf(copy), Parsed(R"({"a":"of the copy"})"));
}

TEST(JsonObjectCopy, OutlivesTheOwningObjectThatItWasMadeFrom) {
    auto owner = std::make_unique<JsonObject>(R"({"a":["x"]})");
    JsonObject copy(*owner);
    owner.reset();
    EXPECT_EQ(ValueOf(copy), Parsed(R"({"a":["x"]})"));
}

TEST(JsonObjectCopy, OfAnExpiringObjectDoesNotEmptyIt) {
    JsonObject owner("[1]");
    JsonObject moved(static_cast<JsonObject&&>(owner));
    EXPECT_EQ(ValueOf(owner), Parsed("[1]"));
    EXPECT_EQ(ValueOf(moved), Parsed("[1]"));
}

TEST(JsonObjectCopy, OfAViewIsAViewOfTheSameValue) {
    JsonObject owner(R"({"a":{"b":"old"}})");
    JsonObject view = owner["a"];
    JsonObject copy = view;
    JsonObject copy_of_copy = copy;
    copy_of_copy["b"] = "new"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":{"b":"new"}})"));
    copy = "text"s;
    EXPECT_EQ(Text(view), "text");
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":"text"})"));
}

TEST(JsonObjectCopy, OfAViewOfANullIsAViewToo) {
    JsonObject owner(R"({"a":null})");
    JsonObject view = owner["a"];
    JsonObject copy = view;
    copy = "text"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":"text"})"));
}

TEST(JsonObjectCopy, OfAViewOfACallersValueIsAViewToo) {
    Json::Value value("old");
    JsonObject view(value);
    JsonObject copy(view);
    copy = "new"s;
    EXPECT_EQ(value.asString(), "new");
    EXPECT_EQ(Text(view), "new");
}

TEST(JsonObjectCopy, OfANullDocumentIsAViewIntoItsSource) {
    JsonObject from_nothing(nullptr);
    JsonObject from_text("null");
    JsonObject from_buffer("null", 4);
    for (JsonObject* const source : {&from_nothing, &from_text, &from_buffer}) {
        JsonObject copy = *source;
        copy = "text"s;
        EXPECT_EQ(Text(*source), "text");
    }
}

TEST(JsonObjectCopy, OfASourceThatCeasedToBeNullIsIndependent) {
    JsonObject source(nullptr);
    source = "old"s;
    JsonObject copy = source;
    copy = "new"s;
    EXPECT_EQ(Text(source), "old");
}

TEST(JsonObjectCopy, OfADocumentThatBecameNullIsAViewIntoItsSource) {
    Json::Value null;
    JsonObject view(null);
    JsonObject source(R"({"a":1})");
    source = view;
    JsonObject copy = source;
    copy = "text"s;
    EXPECT_EQ(Text(source), "text");
    EXPECT_TRUE(null.isNull());
}

TEST(JsonObjectCopy, OfFalseZeroAndEmptyDocumentsIsIndependent) {
    for (char const* const text : {"false", "0", R"("")", "{}", "[]", "0.0"}) {
        JsonObject source(text);
        JsonObject copy = source;
        copy = "new"s;
        EXPECT_EQ(ValueOf(source), Parsed(text)) << text;
    }
}

TEST(JsonObjectAssignment, OwnerFromOwnerIsADeepCopy) {
    JsonObject target(R"({"t":1})");
    JsonObject source(R"({"s":"old"})");
    JsonObject const& result = (target = source);
    EXPECT_EQ(&result, &target);
    target["s"] = "new"s;
    EXPECT_EQ(ValueOf(source), Parsed(R"({"s":"old"})"));
    EXPECT_EQ(ValueOf(target), Parsed(R"({"s":"new"})"));
    JsonObject copy(target);
    copy["s"] = "of the copy"s;
    EXPECT_EQ(ValueOf(target), Parsed(R"({"s":"new"})"));
}

TEST(JsonObjectAssignment, OwnerFromViewIsAPrivateCopyThatTheOwnerStillOwns) {
    JsonObject source(R"({"s":{"x":"old"}})");
    JsonObject target(R"({"t":1})");
    target = source["s"];
    target["x"] = "new"s;
    EXPECT_EQ(ValueOf(source), Parsed(R"({"s":{"x":"old"}})"));
    JsonObject copy(target);
    copy["x"] = "of the copy"s;
    EXPECT_EQ(ValueOf(target), Parsed(R"({"x":"new"})"));
}

TEST(JsonObjectAssignment, OwnerFromNullDocumentMakesTheOwnersNull) {
    JsonObject source(nullptr);
    JsonObject target(R"({"t":1})");
    target = source;
    EXPECT_FALSE(target.IsValid());
    target = "text"s;
    EXPECT_FALSE(source.IsValid());
    EXPECT_EQ(Text(target), "text");
}

TEST(JsonObjectAssignment, ViewFromOwnerDetachesTheViewAndMakesItOwn) {
    JsonObject document(R"({"a":{"b":1}})");
    JsonObject view = document["a"];
    JsonObject other_view = document["a"];
    {
        JsonObject source(R"({"s":"old"})");
        view = source;
        view["s"] = "new"s;
        EXPECT_EQ(ValueOf(source), Parsed(R"({"s":"old"})"));
    }
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":{"b":1}})"));
    EXPECT_EQ(ValueOf(other_view), Parsed(R"({"b":1})"));
    EXPECT_EQ(ValueOf(view), Parsed(R"({"s":"new"})"));
    JsonObject copy(view);
    copy["s"] = "of the copy"s;
    EXPECT_EQ(ValueOf(view), Parsed(R"({"s":"new"})"));
}

TEST(JsonObjectAssignment, ViewFromViewCopiesIntoTheViewedDocument) {
    JsonObject document(R"({"a":1,"z":2})");
    JsonObject view = document["a"];
    {
        JsonObject source(R"({"s":{"x":"old"}})");
        view = source["s"];
        view["x"] = "new"s;
        EXPECT_EQ(ValueOf(source), Parsed(R"({"s":{"x":"old"}})"));
    }
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":{"x":"new"},"z":2})"));
    JsonObject copy(view);
    copy["x"] = "through the copy"s;
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":{"x":"through the copy"},"z":2})"));
}

TEST(JsonObjectAssignment, ViewFromViewWithinOneDocument) {
    JsonObject document(R"({"a":[1],"b":[2]})");
    JsonObject a = document["a"];
    a = document["b"];
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":[2],"b":[2]})"));

    JsonObject inner(R"({"a":{"b":{"c":1}}})");
    JsonObject outer = inner["a"];
    outer = inner.GetObject("a/b");
    EXPECT_EQ(ValueOf(inner), Parsed(R"({"a":{"c":1}})"));

    JsonObject grown(R"({"a":{"b":1}})");
    JsonObject leaf = grown.GetObject("a/b");
    leaf = grown.GetObject("a");
    EXPECT_EQ(ValueOf(grown), Parsed(R"({"a":{"b":{"b":1}}})"));
}

TEST(JsonObjectAssignment, ViewFromNullDocumentMakesTheViewedValueNull) {
    JsonObject source(nullptr);
    JsonObject document(R"({"a":1})");
    JsonObject view = document["a"];
    view = source;
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":null})"));
    view = "text"s;
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a":"text"})"));
    EXPECT_FALSE(source.IsValid());
}

TEST(JsonObjectAssignment, NullDocumentFromOwnerIsADeepCopy) {
    JsonObject source(R"({"s":"old"})");
    JsonObject target(nullptr);
    target = source;
    target["s"] = "new"s;
    EXPECT_EQ(ValueOf(source), Parsed(R"({"s":"old"})"));
    EXPECT_EQ(ValueOf(target), Parsed(R"({"s":"new"})"));
}

TEST(JsonObjectAssignment, NullDocumentFromViewIsAPrivateCopy) {
    auto list = std::make_unique<JsonObject>(R"({"0":{"name":"x"}})");
    JsonObject item(nullptr);
    item = (*list)["0"];
    item["name"] = "y"s;
    EXPECT_EQ(ValueOf(*list), Parsed(R"({"0":{"name":"x"}})"));
    list.reset();
    EXPECT_EQ(ValueOf(item), Parsed(R"({"name":"y"})"));
}

TEST(JsonObjectAssignment, NullDocumentFromNullDocumentStaysOnItsOwn) {
    JsonObject source(nullptr);
    JsonObject target("null");
    target = source;
    target = "text"s;
    EXPECT_FALSE(source.IsValid());
    source = "other"s;
    EXPECT_EQ(Text(target), "text");
}

TEST(JsonObjectAssignment, NullDocumentFromItsOwnCopy) {
    JsonObject source(nullptr);
    JsonObject view_of_it = source;
    source = view_of_it;
    EXPECT_FALSE(source.IsValid());
    view_of_it = source;
    EXPECT_FALSE(source.IsValid());
    view_of_it = "text"s;
    EXPECT_EQ(Text(source), "text");
    view_of_it = source;
    source = "new"s;
    EXPECT_EQ(Text(view_of_it), "text");
}

TEST(JsonObjectAssignment, ToItselfChangesNothing) {
    JsonObject owner(R"({"a":[1,2]})");
    JsonObject& same_owner = owner;
    owner = same_owner;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":[1,2]})"));

    JsonObject view = owner["a"];
    JsonObject& same_view = view;
    view = same_view;
    EXPECT_EQ(ValueOf(view), Parsed("[1,2]"));
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":[1,2]})"));
    view = "still a view"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":"still a view"})"));

    JsonObject null(nullptr);
    JsonObject& same_null = null;
    null = same_null;
    EXPECT_FALSE(null.IsValid());
    null = "text"s;
    EXPECT_EQ(Text(null), "text");
}

TEST(JsonObjectAssignment, OfAViewOfItsOwnDocumentToTheOwner) {
    JsonObject owner(R"({"a":{"b":"old"}})");
    owner = owner["a"];
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"b":"old"})"));
    JsonObject copy(owner);
    copy["b"] = "of the copy"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"b":"old"})"));

    owner = owner.GetObject("");
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"b":"old"})"));

    JsonObject array("[[1,[2,3]]]");
    array = array[0];
    EXPECT_EQ(ValueOf(array), Parsed("[1,[2,3]]"));
}

TEST(JsonObjectAssignment, OfTheOwnerToAViewOfItsOwnDocument) {
    JsonObject owner(R"({"a":{"b":"old"}})");
    JsonObject view = owner["a"];
    view = owner;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":{"b":"old"}})"));
    EXPECT_EQ(ValueOf(view), Parsed(R"({"a":{"b":"old"}})"));
    view["a"] = "of the view"s;
    EXPECT_EQ(ValueOf(owner), Parsed(R"({"a":{"b":"old"}})"));
}

TEST(JsonObjectAssignment, OfATextIsAStringThatIsNotParsed) {
    JsonObject owner(R"({"a":1})");
    JsonObject& result = (owner = R"({"b":2})"s);
    EXPECT_EQ(&result, &owner);
    EXPECT_EQ(ValueOf(owner), Json::Value(R"({"b":2})"));

    owner = "x\0y"s;
    EXPECT_EQ(ValueOf(owner), Json::Value("x\0y"s));
    owner = ""s;
    EXPECT_EQ(ValueOf(owner), Json::Value(""));
    EXPECT_TRUE(owner.IsValid());
}

TEST(JsonObjectAssignment, OfATextThroughAViewChangesItsDocumentAlone) {
    Json::Value value;
    value["a"] = 1;
    value["b"] = 2;
    JsonObject view(value["a"]);
    view = "text"s;
    EXPECT_EQ(value, Parsed(R"({"a":"text","b":2})"));
}

TEST(JsonObject, AViewLeavesTheCallersValueAsItIs) {
    Json::Value value("old");
    { JsonObject const view(value); }
    EXPECT_EQ(value, Json::Value("old"));
    JsonObject view(value);
    value = "changed by its owner";
    EXPECT_EQ(Text(view), "changed by its owner");
}

}  // namespace
