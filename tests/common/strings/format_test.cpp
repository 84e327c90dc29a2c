#include "common/strings/format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cwchar>

#include "tests/support/locale_in_use.h"

namespace {

TEST(Format, TheExamplesOfItsHeader) {
    EXPECT_EQ(string_format("%s %d", "agent", 7), "agent 7");
    EXPECT_EQ(string_format("%05.1f%%", 2.5), "002.5%");
    EXPECT_EQ(wstring_format(L"%ls %d", L"agent", 7), L"agent 7");
    EXPECT_EQ(string_format("a%cb", 0), "a");
}

TEST(Format, TextWithoutConversionsIsCopied) {
    EXPECT_EQ(string_format(""), "");
    EXPECT_EQ(string_format("100%% of it"), "100% of it");
    EXPECT_EQ(wstring_format(L""), L"");
    EXPECT_EQ(wstring_format(L"100%% of it"), L"100% of it");
}

TEST(Format, ArgumentsOfEveryKindAreReadTheSecondTimeAsTheFirst) {
    EXPECT_EQ(string_format("%d|%lld|%.3f|%s|%c|%zu|%*d", INT_MIN, LLONG_MAX, 0.5, "text",
                            'c', sizeof(int), 4, -7),
              "-2147483648|9223372036854775807|0.500|text|c|4|  -7");
    EXPECT_EQ(wstring_format(L"%d|%lld|%.3f|%s|%ls|%lc|%*d", INT_MIN, LLONG_MAX, 0.5,
                             "narrow", L"wide", L'c', 4, -7),
              L"-2147483648|9223372036854775807|0.500|narrow|wide|c|  -7");
}

TEST(Format, ANulThatIsWrittenEndsTheResult) {
    EXPECT_EQ(string_format("ab%ccd", 0), "ab");
    EXPECT_EQ(string_format("%c", 0), "");
    EXPECT_EQ(wstring_format(L"ab%lccd", L'\0'), L"ab");
    EXPECT_EQ(wstring_format(L"ab%ccd", 0), L"ab");
    EXPECT_EQ(wstring_format(L"%lc", L'\0'), L"");
}

TEST(Format, ANulInTheFormatEndsIt) {
    EXPECT_EQ(string_format(std::string("a\0b", 3)), "a");
    EXPECT_EQ(wstring_format(std::wstring(L"a\0b", 3)), L"a");
}

TEST(Format, TheResultMayHaveAnyLength) {
    for (std::size_t const length : {1U, 127U, 128U, 1023U, 1024U, 4096U, 1000000U}) {
        std::string const text = std::string(length - 1, 'x') + 'y';
        EXPECT_EQ(string_format("<%s>", text.c_str()), '<' + text + '>') << length;
        std::wstring const wide(text.begin(), text.end());
        EXPECT_EQ(wstring_format(L"<%ls>", wide.c_str()), L'<' + wide + L'>') << length;
    }
}

TEST(Format, BytesPassAsTheyAre) {
    EXPECT_EQ(string_format("\xFF%s\xC3", "\x80\xC3\xA9"), "\xFF\x80\xC3\xA9\xC3");
}

TEST(Format, WideCharactersBeyondAsciiPassWhole) {
    LocaleInUse const locale = LocaleInUse::Utf8();
    EXPECT_EQ(wstring_format(L"\u00E9 %ls %lc", L"\u20AC", static_cast<wint_t>(0x1F600)),
              L"\u00E9 \u20AC \U0001F600");
}

TEST(Format, NarrowStringsInWideTextAreDecodedInTheLocale) {
    LocaleInUse const locale = LocaleInUse::Utf8();
    EXPECT_EQ(wstring_format(L"<%s>", "\xE2\x82\xAC"), L"<\u20AC>");
}

TEST(Format, WideStringsInTextAreEncodedInTheLocale) {
    LocaleInUse const locale = LocaleInUse::Utf8();
    EXPECT_EQ(string_format("<%ls %lc>", L"\u20AC", static_cast<wint_t>(0x20AC)),
              "<\xE2\x82\xAC \xE2\x82\xAC>");
}

TEST(Format, WhatTheLocaleCannotEncodeOrDecodeGivesAnEmptyString) {
    EXPECT_EQ(string_format("before %lc after", static_cast<wint_t>(0x20AC)), "");
    EXPECT_EQ(string_format("before %ls after", L"\u20AC"), "");
    LocaleInUse const locale = LocaleInUse::Utf8();
    EXPECT_EQ(wstring_format(L"before %s after", "\xFF"), L"");
    EXPECT_EQ(wstring_format(L"before %s after", "\xE2\x82"), L"");
}

TEST(Format, MoreCharactersThanAnIntCountsGiveAnEmptyString) {
    static_assert(INT_MAX == 2147483647);
    EXPECT_EQ(string_format("before %2147483648d", 1), "");
    EXPECT_EQ(wstring_format(L"before %2147483648d", 1), L"");
}

}  // namespace
