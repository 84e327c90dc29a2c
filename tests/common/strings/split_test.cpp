#include "common/strings/split.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

std::vector<std::string> SplitAt(std::string const& pattern, std::string const& text) {
    return split(text, std::regex(pattern));
}

std::vector<std::wstring> SplitAt(std::wstring const& pattern, std::wstring const& text) {
    return split(text, std::wregex(pattern));
}

TEST(Split, TheExamplesOfItsHeader) {
    EXPECT_THAT(SplitAt("/", "a//b/"), ElementsAre("a", "", "b"));
    EXPECT_THAT(SplitAt("/", "/a"), ElementsAre("", "a"));
    EXPECT_THAT(SplitAt("/", ""), ElementsAre(""));
}

TEST(Split, EveryMatchGivesThePieceBeforeItAndOnlyTheLastPieceIsDroppedIfEmpty) {
    EXPECT_THAT(SplitAt("/", "/a/b"), ElementsAre("", "a", "b"));
    EXPECT_THAT(SplitAt("/", "a/b/"), ElementsAre("a", "b"));
    EXPECT_THAT(SplitAt("/", "a/b//"), ElementsAre("a", "b", ""));
    EXPECT_THAT(SplitAt("/", "/"), ElementsAre(""));
    EXPECT_THAT(SplitAt("/", "//"), ElementsAre("", ""));
    EXPECT_THAT(SplitAt("=", "k=a=b"), ElementsAre("k", "a", "b"));
    EXPECT_THAT(SplitAt("=", "k="), ElementsAre("k"));
    EXPECT_THAT(SplitAt("=", "k==x"), ElementsAre("k", "", "x"));
}

TEST(Split, TextWithoutAMatchIsOnePiece) {
    EXPECT_THAT(SplitAt("/", "name"), ElementsAre("name"));
    EXPECT_THAT(SplitAt("/", ""), ElementsAre(""));
}

TEST(Split, TheSeparatorIsAnExpressionOfTheCallersGrammar) {
    EXPECT_THAT(SplitAt("[,;]+", "a,;b;c"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("aXbxc", std::regex("x", std::regex::icase)),
                ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("a+b", std::regex("+", std::regex::basic)), ElementsAre("a", "b"));
}

TEST(Split, TakesBytesAsTheyAre) {
    std::string const text("a\0b=\xC3\xA9", 6);
    EXPECT_THAT(SplitAt("=", text),
                ElementsAre(std::string("a\0b", 3), std::string("\xC3\xA9")));
}

TEST(Split, WideTextIsCutInTheSameWay) {
    EXPECT_THAT(SplitAt(L"/", L"/a//b/"), ElementsAre(L"", L"a", L"", L"b"));
    EXPECT_THAT(SplitAt(L"/", L""), ElementsAre(L""));
    EXPECT_THAT(SplitAt(L"\u00E9", L"a\u00E9b\u00E9"), ElementsAre(L"a", L"b"));
}

}  // namespace
