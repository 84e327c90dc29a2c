// What a JsonObject reads as.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "tests/common/json/json_values.h"

namespace {

using namespace std::string_literals;

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

// Expects that the value reads as none of the types.
template <typename... Types>
void ExpectIsNo(JsonObject& value) {
    auto const expect_throw = [&value](auto type) {
        EXPECT_THROW((void)static_cast<decltype(type)>(value), Json::LogicError);
    };
    (expect_throw(Types()), ...);
}

TEST(JsonObjectConversion, ObjectsAndArraysReadAsNothingAtAll) {
    for (char const* const text : {"{}", "[]", R"({"a":1})", "[1]"}) {
        SCOPED_TRACE(text);
        JsonObject document(text);
        ExpectIsNo<std::string, std::wstring, unsigned long long, long long, long, int,
                   AERROR, double, bool>(document);
        EXPECT_EQ(ValueOf(document), Parsed(text));
    }
}

TEST(JsonObjectConversion, AStringIsNoNumber) {
    JsonObject number_in_quotes(R"("12")");
    ExpectIsNo<unsigned long long, long long, long, int, AERROR, double, bool>(
        number_in_quotes);
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
        SCOPED_TRACE(text);
        JsonObject number(text);
        ExpectIsNo<unsigned long long>(number);
    }
    for (char const* const text :
         {"9223372036854775808", "18446744073709551615", "9223372036854775808.0", "1e19",
          "-1e19", "1e300", "18446744073709551616"}) {
        SCOPED_TRACE(text);
        JsonObject number(text);
        ExpectIsNo<long long, long, int, AERROR>(number);
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
    } const cases[] = {{"0", 0},
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
                       {"false", 0}};
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

}  // namespace
