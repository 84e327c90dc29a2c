#include "common/json/json_object.h"

#include <gtest/gtest.h>
#include <json/writer.h>
#include <pthread.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "tests/support/allocation_limit.h"

namespace {

using namespace std::string_literals;

std::string Text(JsonObject& handle) {
    return handle;
}

// Returns what the handle refers to, for comparison with what it should be.
Json::Value ValueOf(JsonObject& handle) {
    Json::Value value;
    JsonObject view(value);
    view = handle.GetObject("");
    return value;
}

Json::Value Parsed(char const* text) {
    JsonObject document(text);
    return ValueOf(document);
}

AERROR CodeThrownForText(char const* text) {
    try {
        JsonObject const document(text);
    } catch (AERROR code) {
        return code;
    }
    return AERROR();
}

AERROR CodeThrownForBuffer(std::string const& bytes) {
    try {
        JsonObject const document(bytes.data(), static_cast<unsigned>(bytes.size()));
    } catch (AERROR code) {
        return code;
    }
    return AERROR();
}

AERROR CodeThrownForPath(JsonObject& document, char const* path) {
    try {
        document.GetObject(path);
    } catch (AERROR code) {
        return code;
    }
    return AERROR();
}

TEST(JsonObject, TheExampleOfItsHeader) {
    JsonObject list(R"({"0": {"name": "agent", "argc": 1}})");
    JsonObject item = list["0"];
    std::string const name = item.GetObject("/name");
    EXPECT_EQ(name, "agent");
    int const count = item["argc"];
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(list.HasObject("0/program"));
}

// Parsing

TEST(JsonObject, TextThatIsNotJsonThrowsTheCodeByValue) {
    EXPECT_EQ(AERROR_INVALID_JSON, 6001);
    EXPECT_EQ(AERROR_NOT_FOUND, 4);
    for (char const* const text :
         {"", " ", "{", "[1,", R"({"a" 1})", "nul", R"("a)", "}"}) {
        EXPECT_EQ(CodeThrownForText(text), AERROR_INVALID_JSON) << text;
        EXPECT_EQ(CodeThrownForBuffer(text), AERROR_INVALID_JSON) << text;
    }
}

TEST(JsonObject, ANullTextIsADocumentThatIsNull) {
    JsonObject nothing(nullptr);
    EXPECT_FALSE(nothing.IsValid());
    EXPECT_FALSE(nothing.IsArray());
    EXPECT_EQ(Text(nothing), "");
    EXPECT_EQ(static_cast<int>(nothing), 0);
    EXPECT_EQ(nothing.GetArraySize(), 0U);
}

TEST(JsonObject, AnyValueIsADocument) {
    EXPECT_EQ(static_cast<int>(JsonObject("12")), 12);
    EXPECT_EQ(static_cast<std::string>(JsonObject(R"( "x" )")), "x");
    EXPECT_TRUE(static_cast<bool>(JsonObject("true", 4)));
    EXPECT_FALSE(JsonObject("null").IsValid());
    EXPECT_FALSE(JsonObject("null", 4).IsValid());
}

TEST(JsonObject, WhatFollowsTheValueIsNotLookedAt) {
    EXPECT_EQ(static_cast<int>(JsonObject("12 }")), 12);
    EXPECT_EQ(static_cast<int>(JsonObject("12 }", 4)), 12);
}

TEST(JsonObject, OfAKeyThatIsThereTwiceTheLaterValueCounts) {
    JsonObject document(R"({"a": 1, "a": [2]})");
    EXPECT_EQ(ValueOf(document), Parsed(R"({"a": [2]})"));
}

TEST(JsonObject, SomeNumbersAndStringsThatAreNoJsonAreAccepted) {
    EXPECT_EQ(static_cast<int>(JsonObject("01")), 1);
    EXPECT_EQ(static_cast<double>(JsonObject("1.")), 1.0);
    EXPECT_EQ(static_cast<int>(JsonObject("-")), 0);
    EXPECT_EQ(static_cast<std::string>(JsonObject("\"a\n\tb\x01\"")), "a\n\tb\x01");
}

TEST(JsonObject, WhatIsAlmostJsonIsRefusedByBothConstructors) {
    for (char const* const text :
         {"[1,]", "[,1]", "[1 2]", "[,]", R"({"a":1,})", "{,}", "{1:2}", "{a:1}", "['a']",
          "NaN", "Infinity", "+1", ".5", "\xEF\xBB\xBF{}", R"("\x41")", "# a\n1"}) {
        EXPECT_EQ(CodeThrownForText(text), AERROR_INVALID_JSON) << text;
        EXPECT_EQ(CodeThrownForBuffer(text), AERROR_INVALID_JSON) << text;
    }
}

TEST(JsonObject, BothConstructorsAcceptComments) {
    std::string const text = "/* a */ [1, // b\n2]";
    JsonObject from_text(text.c_str());
    JsonObject from_buffer(text.data(), static_cast<unsigned>(text.size()));
    EXPECT_EQ(ValueOf(from_text), Parsed("[1,2]"));
    EXPECT_EQ(ValueOf(from_buffer), Parsed("[1,2]"));
}

// Compares with the C++ library: the handle's number is what that reads, and none of JSON
// if it reads none.
void ExpectReadAsTheCppLibraryReads(char const* text) {
    double value = 0;
    if (std::istringstream(text) >> value) {
        EXPECT_EQ(static_cast<double>(JsonObject(text)), value) << text;
    } else {
        EXPECT_EQ(CodeThrownForText(text), AERROR_INVALID_JSON) << text;
    }
}

TEST(JsonObject, TheSmallestFractionsAreReadAsTheCppLibraryReadsThem) {
    for (char const* const text : {"1e-320", "4.9e-324", "-1e-320", "1e-400", "1e-300",
                                   "2.2250738585072011e-308", "1e400", "-1e400"}) {
        ExpectReadAsTheCppLibraryReads(text);
    }
}

TEST(JsonObject, FractionsAreReadInTheGlobalLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return ' '; }
    };
    struct CommaAndGroups : Comma {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new Comma));
    ExpectReadAsTheCppLibraryReads("1.5");
    EXPECT_EQ(static_cast<double>(JsonObject("1.5")), 1);
    std::locale::global(std::locale(std::locale::classic(), new CommaAndGroups));
    ExpectReadAsTheCppLibraryReads("1.5");
    EXPECT_EQ(CodeThrownForText("1.5"), AERROR_INVALID_JSON);
    EXPECT_EQ(static_cast<int>(JsonObject("15")), 15);
    std::locale::global(before);
    EXPECT_EQ(static_cast<double>(JsonObject("1.5")), 1.5);
}

TEST(JsonObject, ABufferIsReadUpToItsLengthOnly) {
    char const numbers[] = {'1', '2', '3', '4'};
    EXPECT_EQ(static_cast<int>(JsonObject(numbers, 2)), 12);
    EXPECT_EQ(static_cast<int>(JsonObject(numbers, 4)), 1234);
    EXPECT_EQ(CodeThrownForBuffer(std::string("{}").substr(0, 1)), AERROR_INVALID_JSON);
    JsonObject first_of_two("[1][2]", 3);
    EXPECT_EQ(ValueOf(first_of_two), Parsed("[1]"));
    EXPECT_THROW(JsonObject(R"({"a":1})", 6), AERROR);
}

TEST(JsonObject, ABufferNeedsNoTerminator) {
    std::string const text = "[1,2,3]";
    std::unique_ptr<char[]> const exact(new char[text.size()]);
    text.copy(exact.get(), text.size());
    JsonObject document(exact.get(), static_cast<unsigned>(text.size()));
    EXPECT_EQ(document.GetArraySize(), 3U);
}

TEST(JsonObject, NulsInABufferReachTheParserAndEndAText) {
    std::string const bytes = "{\"a\0b\":[1]}"s;
    JsonObject document(bytes.data(), static_cast<unsigned>(bytes.size()));
    Json::Value value = ValueOf(document);
    EXPECT_TRUE(value.isMember("a\0b"s));

    std::string const inside = "\"x\0y\""s;
    JsonObject string(inside.data(), static_cast<unsigned>(inside.size()));
    EXPECT_EQ(ValueOf(string).asString(), "x\0y"s);
    EXPECT_EQ(CodeThrownForText(inside.c_str()), AERROR_INVALID_JSON);

    EXPECT_EQ(static_cast<int>(JsonObject("12\0 }")), 12);
    EXPECT_EQ(CodeThrownForBuffer("[1,\0 2]"s), AERROR_INVALID_JSON);
}

std::string StyledText(JsonObject& handle) {
    return Json::StyledWriter().write(ValueOf(handle));
}

TEST(JsonObject, OnlyADocumentParsedFromATextKeepsItsComments) {
    std::string const text = "// before\n{\n// inside\n\"a\" : 1 // behind\n}\n";
    JsonObject from_text(text.c_str());
    JsonObject from_buffer(text.data(), static_cast<unsigned>(text.size()));
    EXPECT_TRUE(ValueOf(from_text).hasComment(Json::commentBefore));
    EXPECT_FALSE(ValueOf(from_buffer).hasComment(Json::commentBefore));
    for (char const* const comment : {"// before", "// inside", "// behind"}) {
        EXPECT_NE(StyledText(from_text).find(comment), std::string::npos) << comment;
    }
    EXPECT_EQ(StyledText(from_buffer).find("//"), std::string::npos);
    EXPECT_EQ(ValueOf(from_text), ValueOf(from_buffer));
}

std::string Nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(JsonObject, TheParsersLimitOfDepthPassesThroughAsItsOwnException) {
    std::string const deep = Nested(1000);
    EXPECT_NO_THROW(JsonObject(deep.c_str()));
    EXPECT_THROW(JsonObject(Nested(1001).c_str()), Json::RuntimeError);
    EXPECT_THROW(JsonObject((std::string(1000, '[') + '1').c_str()), Json::RuntimeError);
    std::string const too_deep = Nested(5000);
    EXPECT_THROW(JsonObject(too_deep.c_str()), Json::RuntimeError);
    EXPECT_THROW(JsonObject(too_deep.data(), static_cast<unsigned>(too_deep.size())),
                 Json::RuntimeError);
}

TEST(JsonObject, AnEmptyObjectIsValidAndNoArray) {
    JsonObject empty = JsonObject::GetEmptyObject();
    EXPECT_TRUE(empty.IsValid());
    EXPECT_FALSE(empty.IsArray());
    EXPECT_EQ(empty.GetArraySize(), 0U);
    EXPECT_EQ(ValueOf(empty), Json::Value(Json::objectValue));

    JsonObject copy(empty);
    copy["a"] = "of the copy"s;
    EXPECT_FALSE(empty.HasObject("a"));
}

// Copies and assignments, between handles of three kinds: the owner of a document, the
// owner of a document that is null, and the view.

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

// Conversions

TEST(JsonObjectConversion, NullReadsAsNothing) {
    JsonObject null("null");
    EXPECT_EQ(static_cast<std::string>(null), "");
    EXPECT_EQ(static_cast<std::wstring>(null), L"");
    EXPECT_EQ(static_cast<unsigned long long>(null), 0U);
    EXPECT_EQ(static_cast<long long>(null), 0);
    EXPECT_EQ(static_cast<long>(null), 0);
    EXPECT_EQ(static_cast<int>(null), 0);
    EXPECT_EQ(static_cast<AERROR>(null), AERROR());
    EXPECT_EQ(static_cast<double>(null), 0.0);
    EXPECT_FALSE(static_cast<bool>(null));
}

TEST(JsonObjectConversion, ObjectsAndArraysReadAsNothingAtAll) {
    for (char const* const text : {"{}", "[]", R"({"a":1})", "[1]"}) {
        JsonObject document(text);
        EXPECT_THROW((void)static_cast<std::string>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<std::wstring>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<unsigned long long>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<long long>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<long>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<int>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<AERROR>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<double>(document), Json::LogicError);
        EXPECT_THROW((void)static_cast<bool>(document), Json::LogicError);
        EXPECT_EQ(ValueOf(document), Parsed(text));
    }
}

TEST(JsonObjectConversion, AStringIsNoNumber) {
    JsonObject number_in_quotes(R"("12")");
    EXPECT_THROW((void)static_cast<unsigned long long>(number_in_quotes),
                 Json::LogicError);
    EXPECT_THROW((void)static_cast<long long>(number_in_quotes), Json::LogicError);
    EXPECT_THROW((void)static_cast<long>(number_in_quotes), Json::LogicError);
    EXPECT_THROW((void)static_cast<int>(number_in_quotes), Json::LogicError);
    EXPECT_THROW((void)static_cast<AERROR>(number_in_quotes), Json::LogicError);
    EXPECT_THROW((void)static_cast<double>(number_in_quotes), Json::LogicError);
    EXPECT_THROW((void)static_cast<bool>(number_in_quotes), Json::LogicError);
}

TEST(JsonObjectConversion, NumbersAndBooleansAreWrittenOut) {
    EXPECT_EQ(static_cast<std::string>(JsonObject("-12")), "-12");
    EXPECT_EQ(static_cast<std::string>(JsonObject("18446744073709551615")),
              "18446744073709551615");
    EXPECT_EQ(static_cast<std::string>(JsonObject("1.5")), "1.5");
    EXPECT_EQ(static_cast<std::string>(JsonObject("true")), "true");
    EXPECT_EQ(static_cast<std::wstring>(JsonObject("false")), L"false");
}

TEST(JsonObjectConversion, TextEndsAtItsFirstNul) {
    JsonObject escaped(R"("ab\u0000cd")");
    EXPECT_EQ(static_cast<std::string>(escaped), "ab");
    EXPECT_EQ(static_cast<std::wstring>(escaped), L"ab");
    EXPECT_EQ(ValueOf(escaped).asString(), "ab\0cd"s);
    EXPECT_EQ(static_cast<std::string>(JsonObject(R"("\u0000cd")")), "");
}

TEST(JsonObjectConversion, WideTextIsDecodedFromUtf8) {
    EXPECT_EQ(static_cast<std::wstring>(JsonObject(R"("\u00e9\ud83d\ude00")")),
              L"\u00E9\U0001F600");
    EXPECT_EQ(static_cast<std::wstring>(JsonObject("\"\xC3\xA9\"")), L"\u00E9");
}

TEST(JsonObjectConversion, WideTextThatIsNoUtf8ThrowsAndNarrowTextDoesNot) {
    JsonObject latin("\"a\xE9\"");
    EXPECT_EQ(static_cast<std::string>(latin), "a\xE9");
    try {
        (void)static_cast<std::wstring>(latin);
        FAIL() << "decoded";
    } catch (std::range_error const& error) {
        EXPECT_STREQ(error.what(), "wstring_convert: from_bytes error");
    }
    JsonObject behind_a_nul(nullptr);
    behind_a_nul = "a\0\xE9"s;
    EXPECT_EQ(static_cast<std::wstring>(behind_a_nul), L"a");
}

TEST(JsonObjectConversion, WholeNumbersInTheirRange) {
    EXPECT_EQ(static_cast<unsigned long long>(JsonObject("18446744073709551615")),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(static_cast<unsigned long long>(JsonObject("12")), 12U);
    for (char const* const text : {"9223372036854775807", "-9223372036854775808"}) {
        JsonObject number(text);
        EXPECT_EQ(static_cast<long long>(number), std::stoll(text));
        EXPECT_EQ(static_cast<long>(number), std::stol(text));
    }
}

TEST(JsonObjectConversion, WholeNumbersOutOfTheirRangeThrowWhatTheParserThrows) {
    for (char const* const text :
         {"-1", "-1.0", "18446744073709551616", "18446744073709551616.0", "1e300"}) {
        EXPECT_THROW((void)static_cast<unsigned long long>(JsonObject(text)),
                     Json::LogicError)
            << text;
    }
    for (char const* const text :
         {"9223372036854775808", "18446744073709551615", "9223372036854775808.0", "1e19",
          "-1e19", "1e300", "18446744073709551616"}) {
        JsonObject number(text);
        EXPECT_THROW((void)static_cast<long long>(number), Json::LogicError) << text;
        EXPECT_THROW((void)static_cast<long>(number), Json::LogicError) << text;
        EXPECT_THROW((void)static_cast<int>(number), Json::LogicError) << text;
        EXPECT_THROW((void)static_cast<AERROR>(number), Json::LogicError) << text;
    }
}

TEST(JsonObjectConversion, TheLastFractionsInTheirRangeAreNumbers) {
    EXPECT_EQ(static_cast<long long>(JsonObject("9223372036854774784.0")),
              9223372036854774784);
    EXPECT_EQ(static_cast<long long>(JsonObject("-9223372036854775808.0")),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(static_cast<unsigned long long>(JsonObject("18446744073709549568.0")),
              18446744073709549568U);
}

TEST(JsonObjectConversion, IntIsTheLow32BitsWithoutARangeCheck) {
    struct {
        char const* text;
        int value;
    } const cases[] = {
        {"0", 0},
        {"-1", -1},
        {"2147483647", 2147483647},
        {"2147483648", -2147483647 - 1},
        {"-2147483648", -2147483647 - 1},
        {"-2147483649", 2147483647},
        {"4294967295", -1},
        {"4294967296", 0},
        {"4294967297", 1},
        {"-4294967297", -1},
        {"9223372036854775807", -1},
        {"-9223372036854775808", 0},
        {"4294967297.75", 1},
        {"-1.9", -1},
        {"1e3", 1000},
        {"true", 1},
        {"false", 0},
    };
    for (auto const& [text, value] : cases) {
        JsonObject number(text);
        EXPECT_EQ(static_cast<int>(number), value) << text;
        EXPECT_EQ(static_cast<int>(static_cast<AERROR>(number)), value) << text;
    }
    EXPECT_EQ(static_cast<AERROR>(JsonObject("6001")), AERROR_INVALID_JSON);
    EXPECT_EQ(static_cast<AERROR>(JsonObject("4294967300")), AERROR_NOT_FOUND);
}

TEST(JsonObjectConversion, FractionsAreCutOffWholeNumbers) {
    EXPECT_EQ(static_cast<long long>(JsonObject("1.9")), 1);
    EXPECT_EQ(static_cast<long>(JsonObject("-1.9")), -1);
    EXPECT_EQ(static_cast<unsigned long long>(JsonObject("2.9")), 2U);
}

TEST(JsonObjectConversion, FloatingPoint) {
    EXPECT_EQ(static_cast<double>(JsonObject("1.25")), 1.25);
    EXPECT_EQ(static_cast<double>(JsonObject("-1e300")), -1e300);
    EXPECT_EQ(static_cast<double>(JsonObject("3")), 3.0);
    EXPECT_EQ(static_cast<double>(JsonObject("18446744073709551615")), std::pow(2.0, 64));
    EXPECT_EQ(static_cast<double>(JsonObject("true")), 1.0);
}

TEST(JsonObjectConversion, TruthOfNumbers) {
    for (char const* const text : {"true", "1", "-1", "0.5", "18446744073709551615"}) {
        EXPECT_TRUE(static_cast<bool>(JsonObject(text))) << text;
    }
    for (char const* const text : {"false", "0", "0.0", "-0.0", "null"}) {
        EXPECT_FALSE(static_cast<bool>(JsonObject(text))) << text;
    }
    for (double const number : {HUGE_VAL, -HUGE_VAL, 1e-300}) {
        Json::Value value(number);
        EXPECT_TRUE(static_cast<bool>(JsonObject(value))) << number;
    }
    Json::Value not_a_number(std::nan(""));
    EXPECT_FALSE(static_cast<bool>(JsonObject(not_a_number)));
}

TEST(JsonObjectConversion, ReadsTheViewedValueAndChangesNothing) {
    Json::Value value;
    value["n"] = 7;
    value["s"] = "x";
    Json::Value const before = value;
    JsonObject number(value["n"]);
    JsonObject text(value["s"]);
    EXPECT_EQ(static_cast<unsigned long long>(number), 7U);
    EXPECT_EQ(static_cast<long long>(number), 7);
    EXPECT_EQ(static_cast<long>(number), 7);
    EXPECT_EQ(static_cast<int>(number), 7);
    EXPECT_EQ(static_cast<double>(number), 7.0);
    EXPECT_TRUE(static_cast<bool>(number));
    EXPECT_EQ(static_cast<std::string>(text), "x");
    EXPECT_EQ(static_cast<std::wstring>(text), L"x");
    EXPECT_EQ(value, before);
}

TEST(JsonObject, EverythingButNullIsValidAndOnlyAnArrayIsAnArray) {
    for (char const* const text : {"0", "false", R"("")", "{}", "0.0"}) {
        JsonObject document(text);
        EXPECT_TRUE(document.IsValid()) << text;
        EXPECT_FALSE(document.IsArray()) << text;
    }
    for (char const* const text : {"[]", "[null]"}) {
        JsonObject document(text);
        EXPECT_TRUE(document.IsValid()) << text;
        EXPECT_TRUE(document.IsArray()) << text;
    }
    JsonObject document(R"({"there":null})");
    EXPECT_TRUE(document.HasObject("there"));
    EXPECT_FALSE(document.GetObject("there").IsValid());
}

// Form

TEST(JsonObject, IsAPointerAndAValueWithAVirtualDestructor) {
    struct SameForm {
        virtual ~SameForm() = default;
        Json::Value* target;
        Json::Value own_value;
    };
    EXPECT_TRUE(std::has_virtual_destructor_v<JsonObject>);
    EXPECT_EQ(sizeof(JsonObject), sizeof(SameForm));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, long long>));
}

// Has an operation of the name of every one of JsonObject's, and tells of its end.
class Derived : public JsonObject {
  public:
    explicit Derived(bool& told) : JsonObject("[1]"), ended(told) {}
    ~Derived() override { ended = true; }
    operator int() { return -1; }
    bool IsValid() { return false; }
    bool IsArray() { return false; }
    bool HasObject(char const* /*path*/) { return false; }
    JsonObject GetObject(char const* /*path*/) { return nullptr; }
    JsonObject operator[](int /*index*/) { return nullptr; }
    unsigned int GetArraySize() { return 99; }

  private:
    bool& ended;
};

// A thousand levels, the most that are parsed: arrays and objects by turns, and a number.
std::string ThousandLevels() {
    std::string text = "[1]";
    for (int i = 0; i < 499; ++i) {
        text.insert(0, R"({"a": [[2], )");
        text += "]}";
    }
    return text;
}

TEST(JsonObject, ADeepOneIsDestroyedOnASmallStack) {
    std::string const text = ThousandLevels();
    auto document = std::make_unique<JsonObject>(text.c_str());
    auto const destroy = [](void* documents) -> void* {
        static_cast<std::unique_ptr<JsonObject>*>(documents)->reset();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread = {};
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 65'536), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, destroy, &document), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(document, nullptr);
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

TEST(JsonObject, IsDestroyedWithoutMemoryForThat) {
    std::string const text = ThousandLevels();
    auto document = std::make_unique<JsonObject>(text.c_str());
    AllocationLimit const limit(sizeof(Json::Value));  // it asks for room for two
    document.reset();
    EXPECT_EQ(document, nullptr);
}

TEST(JsonObject, OnlyItsDestructorIsVirtual) {
    bool ended = false;
    std::unique_ptr<JsonObject> handle = std::make_unique<Derived>(ended);
    JsonObject& as_base = *handle;
    EXPECT_EQ(typeid(as_base), typeid(Derived));
    EXPECT_TRUE(as_base.IsValid());
    EXPECT_TRUE(as_base.IsArray());
    EXPECT_TRUE(as_base.HasObject(""));
    EXPECT_TRUE(as_base.GetObject("").IsValid());
    EXPECT_EQ(static_cast<int>(as_base[0]), 1);
    EXPECT_EQ(as_base.GetArraySize(), 1U);
    EXPECT_THROW((void)static_cast<int>(as_base), Json::LogicError);
    handle.reset();
    EXPECT_TRUE(ended);
}

// Paths

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

// Subscripts

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

// An array may leave out the nulls that it grew by, and is then another Json::Value; what
// is written of it shows them.
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

// What the header says of expressions that do not compile, and of one that does.
template <typename Handle, typename = void>
struct TakesALiteral : std::false_type {};
template <typename Handle>
struct TakesALiteral<Handle, std::void_t<decltype(std::declval<Handle>()["a"] = "text")>>
    : std::true_type {};
template <typename Handle, typename = void>
struct TakesANumber : std::false_type {};
template <typename Handle>
struct TakesANumber<Handle, std::void_t<decltype(std::declval<Handle>()["a"] = 5)>>
    : std::true_type {};
template <typename Handle, typename = void>
struct IsComparable : std::false_type {};
template <typename Handle>
struct IsComparable<Handle, std::void_t<decltype(std::declval<Handle>()["a"] == 5)>>
    : std::true_type {};

TEST(JsonObject, SomeExpressionsDoNotCompile) {
    EXPECT_FALSE(TakesALiteral<JsonObject&>());
    EXPECT_FALSE(TakesANumber<JsonObject&>());
    EXPECT_FALSE(IsComparable<JsonObject&>());
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, unsigned>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, short>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, float>));
    EXPECT_FALSE((std::is_constructible_v<unsigned, JsonObject&>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, std::string>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, int>));
}

TEST(JsonObject, AddedToALiteralIsTakenForAnInt) {
    JsonObject doc(R"({"n": 1})");
    EXPECT_STREQ("abc" + doc["n"], "bc");
    EXPECT_EQ("abc" + std::string(doc["n"]), "abc1");
}

TEST(JsonObject, ArraySizeCountsElementsAndMembers) {
    JsonObject document(R"({"array": [1, 2, 3], "object": {"x": 1}, "text": "abc",
                            "null": null})");
    EXPECT_EQ(document.GetArraySize(), 4U);
    EXPECT_EQ(document["array"].GetArraySize(), 3U);
    EXPECT_EQ(document["object"].GetArraySize(), 1U);
    EXPECT_EQ(document["text"].GetArraySize(), 0U);
    EXPECT_EQ(document["null"].GetArraySize(), 0U);
    EXPECT_EQ(JsonObject("[]").GetArraySize(), 0U);
}

}  // namespace
