// What JsonObject accepts as JSON, and what it keeps of it.

#include <gtest/gtest.h>
#include <json/writer.h>

#include <locale>
#include <memory>
#include <sstream>
#include <string>

#include "tests/common/json/json_values.h"

namespace {

using namespace std::string_literals;

AERROR CodeThrownForText(char const* text) {
    return CodeThrownBy([=] { JsonObject const document(text); });
}

AERROR CodeThrownForBuffer(std::string const& bytes) {
    return CodeThrownBy([&] {
        JsonObject const document(bytes.data(), static_cast<unsigned>(bytes.size()));
    });
}

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

// Expects the number that the C++ library reads from `text`. If it reads none, `text`
// must be refused.
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
    std::string const text = "// before\n{\n// inside\n\"a\" : 1 // after\n}\n";
    JsonObject from_text(text.c_str());
    JsonObject from_buffer(text.data(), static_cast<unsigned>(text.size()));
    EXPECT_TRUE(ValueOf(from_text).hasComment(Json::commentBefore));
    EXPECT_FALSE(ValueOf(from_buffer).hasComment(Json::commentBefore));
    for (char const* const comment : {"// before", "// inside", "// after"}) {
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

}  // namespace
