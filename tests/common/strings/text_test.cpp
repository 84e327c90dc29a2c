#include "common/strings/text.h"

#include <gtest/gtest.h>

#include "tests/common/strings/pieces.h"

namespace {

// Replaces in narrow and in wide text; the results must agree.
std::string Replaced(std::string text, std::string const& searched,
                     std::string const& replacement) {
    std::wstring wide = Wide(text);
    replace_all(wide, Wide(searched), Wide(replacement));
    replace_all(text, searched, replacement);
    EXPECT_EQ(wide, Wide(text));
    return text;
}

TEST(Text, TheExamplesOfItsHeader) {
    EXPECT_TRUE(ends_with("a.txt", ".txt"));
    EXPECT_FALSE(ends_with("a.txt", ".TXT"));
    std::string text = "a.b.c";
    replace_all(text, ".", "::");
    EXPECT_EQ(text, "a::b::c");
}

TEST(EndsWith, EmptySuffixEndsEveryText) {
    EXPECT_TRUE(ends_with("", ""));
    EXPECT_TRUE(ends_with("a", ""));
}

TEST(EndsWith, SuffixLongerThanTheTextDoesNotMatch) {
    EXPECT_FALSE(ends_with("", "a"));
    EXPECT_FALSE(ends_with("txt", ".txt"));
    EXPECT_FALSE(ends_with("b", "ab"));
}

TEST(EndsWith, EveryByteOfTheSuffixCounts) {
    EXPECT_TRUE(ends_with("a.txt", "a.txt"));
    EXPECT_FALSE(ends_with("a.txt", "b.txt"));
    EXPECT_FALSE(ends_with("a.txt", ".txT"));
    EXPECT_FALSE(ends_with("a.txt.bak", ".txt"));
    EXPECT_TRUE(ends_with("caf\xC3\xA9", "\xC3\xA9"));
    EXPECT_FALSE(ends_with("caf\xC3\xA9", "\xC3\x89"));
    EXPECT_TRUE(ends_with(std::string("a\0b", 3), std::string("\0b", 2)));
    EXPECT_FALSE(ends_with(std::string("a\0b", 3), "ab"));
}

TEST(ReplaceAll, SearchGoesOnAfterTheLengthOfTheSearchedTextNotOfTheReplacement) {
    EXPECT_EQ(Replaced("aaaa", "aa", "b"), "baa");
    EXPECT_EQ(Replaced("a--b", "-", ""), "a-b");
    EXPECT_EQ(Replaced("xyxy", "xy", "x"), "xxy");
    EXPECT_EQ(Replaced("----", "-", ""), "--");
}

TEST(ReplaceAll, TheTailOfALongerReplacementIsSearchedAgain) {
    // "ab" becomes "cab", whose "ab" begins before the search goes on.
    EXPECT_EQ(Replaced("ab", "ab", "cab"), "cab");
    // The replacement's last character and the text's next one are a match together.
    EXPECT_EQ(Replaced("abb", "ab", "cda"), "cdcda");
}

TEST(ReplaceAll, TextsOfTheSameLengthAreReplacedAsUsual) {
    EXPECT_EQ(Replaced("a.b.c.", ".", "/"), "a/b/c/");
    EXPECT_EQ(Replaced("aaa", "aa", "bb"), "bba");
    EXPECT_EQ(Replaced("abab", "ab", "ba"), "baba");
    EXPECT_EQ(Replaced("aaa", "a", "a"), "aaa");
}

TEST(ReplaceAll, TextWithoutTheSearchedForTextIsUntouched) {
    EXPECT_EQ(Replaced("abc", "x", "y"), "abc");
    EXPECT_EQ(Replaced("", "x", "y"), "");
    EXPECT_EQ(Replaced("ab", "abc", ""), "ab");
    EXPECT_EQ(Replaced("abc", "ABC", "x"), "abc");
}

TEST(ReplaceAll, SearchEndsOnceTheTextIsShorterThanThePosition) {
    EXPECT_EQ(Replaced("abcd", "abcd", ""), "");
    EXPECT_EQ(Replaced("abcdx", "abcd", ""), "x");
}

TEST(ReplaceAll, TakesBytesAndWideCharactersAsTheyAre) {
    std::string bytes("a\0b\0", 4);
    replace_all(bytes, std::string(1, '\0'), "-");
    EXPECT_EQ(bytes, "a-b-");
    std::wstring wide = L"\u00E9\U0001F600\u00E9";
    replace_all(wide, L"\u00E9", L"e");
    EXPECT_EQ(wide, L"e\U0001F600e");
}

}  // namespace
