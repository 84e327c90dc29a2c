#include "common/strings/split.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

namespace {

using testing::ElementsAre;

std::vector<std::string> SplitAt(std::string const& pattern, std::string const& text) {
    return split(text, std::regex(pattern));
}

std::vector<std::wstring> SplitAt(std::wstring const& pattern, std::wstring const& text) {
    return split(text, std::wregex(pattern));
}

using Pieces = std::vector<std::string>;
using Transform = std::function<std::string(std::string&)>;
using WideTransform = std::function<std::wstring(std::wstring&)>;

std::string Same(std::string& piece) {
    return piece;
}

std::wstring WideSame(std::wstring& piece) {
    return piece;
}

std::wstring Wide(std::string const& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

// Wide pieces of ASCII text, as narrow ones.
Pieces Narrow(std::vector<std::wstring> const& pieces) {
    Pieces narrow;
    for (std::wstring const& piece : pieces) {
        narrow.emplace_back(piece.begin(), piece.end());
    }
    return narrow;
}

// Each cuts narrow and wide text; the pieces must agree.
Pieces CutAtRuns(std::string const& text, std::string const& delimiters) {
    Pieces pieces = split_delim(text, delimiters, Same);
    EXPECT_EQ(Narrow(split_delim(Wide(text), Wide(delimiters), WideSame)), pieces);
    return pieces;
}

Pieces CutAtCharacter(std::string const& text, char delimiter) {
    Pieces pieces = tokenize(text, delimiter, Same);
    EXPECT_EQ(Narrow(tokenize(Wide(text), static_cast<wchar_t>(delimiter), WideSame)),
              pieces);
    return pieces;
}

Pieces CutAtText(std::string const& text, std::string const& delimiter) {
    Pieces pieces = tokenize(text, delimiter, Same);
    EXPECT_EQ(Narrow(tokenize(Wide(text), Wide(delimiter), WideSame)), pieces);
    return pieces;
}

TEST(Split, TheExamplesOfItsHeader) {
    auto const same = [](std::string& piece) { return piece; };
    EXPECT_THAT(split("a//b/", std::regex("/")), ElementsAre("a", "", "b"));
    EXPECT_THAT(split_delim("  a b ", " ", same), ElementsAre("a", "b"));
    EXPECT_THAT(tokenize("a,", ',', same), ElementsAre("a"));
    EXPECT_THAT(tokenize("a,", ",", same), ElementsAre("a", ""));
    EXPECT_EQ(join({"a", "b", "c"}, ","), "a,b,c");
}

TEST(Split, TheFourWaysOfCuttingDifferInTheEmptyPieces) {
    struct Row {
        std::string text;
        Pieces at_character;
        Pieces at_text;
        Pieces at_runs;
        Pieces at_matches;
    };
    Row const rows[] = {
        {"a,b", {"a", "b"}, {"a", "b"}, {"a", "b"}, {"a", "b"}},
        {"a,,b", {"a", "", "b"}, {"a", "", "b"}, {"a", "b"}, {"a", "", "b"}},
        {",a", {"", "a"}, {"", "a"}, {"a"}, {"", "a"}},
        {"a,", {"a"}, {"a", ""}, {"a"}, {"a"}},
        {",", {""}, {"", ""}, {}, {""}},
        {"", {}, {""}, {}, {""}}};
    for (Row const& row : rows) {
        SCOPED_TRACE("'" + row.text + "'");
        EXPECT_EQ(CutAtCharacter(row.text, ','), row.at_character);
        EXPECT_EQ(CutAtText(row.text, ","), row.at_text);
        EXPECT_EQ(CutAtRuns(row.text, ","), row.at_runs);
        EXPECT_EQ(SplitAt(",", row.text), row.at_matches);
        EXPECT_EQ(Narrow(SplitAt(L",", Wide(row.text))), row.at_matches);
    }
}

TEST(Split, EveryMatchGivesThePieceBeforeItAndOnlyTheLastPieceIsDroppedIfEmpty) {
    EXPECT_THAT(SplitAt("/", "/a/b"), ElementsAre("", "a", "b"));
    EXPECT_THAT(SplitAt("/", "a/b/"), ElementsAre("a", "b"));
    EXPECT_THAT(SplitAt("/", "a/b//"), ElementsAre("a", "b", ""));
    EXPECT_THAT(SplitAt("/", "name"), ElementsAre("name"));
    EXPECT_THAT(SplitAt("/", "//"), ElementsAre("", ""));
    EXPECT_THAT(SplitAt("=", "k=a=b"), ElementsAre("k", "a", "b"));
    EXPECT_THAT(SplitAt("=", "k="), ElementsAre("k"));
    EXPECT_THAT(SplitAt("=", "k==x"), ElementsAre("k", "", "x"));
}

TEST(Split, AnExpressionThatMatchesTheEmptyTextCutsInFrontOfEveryCharacter) {
    EXPECT_THAT(SplitAt("", "abc"), ElementsAre("", "a", "b", "c"));
    EXPECT_THAT(SplitAt("", ""), ElementsAre(""));
    EXPECT_THAT(SplitAt("b*", "abbc"), ElementsAre("", "a", "", "c"));
    EXPECT_THAT(SplitAt(L"", L"abc"), ElementsAre(L"", L"a", L"b", L"c"));
}

TEST(Split, TheSeparatorIsAnExpressionOfTheCallersGrammar) {
    EXPECT_THAT(SplitAt("[,;]+", "a,;b;c"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("aXbxc", std::regex("x", std::regex::icase)),
                ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("a+b", std::regex("+", std::regex::basic)), ElementsAre("a", "b"));
}

TEST(Split, AnExpressionFindsTheStartAndTheEndOfTheText) {
    EXPECT_THAT(SplitAt("^a", "aba"), ElementsAre("", "ba"));
    EXPECT_THAT(SplitAt("a$", "aba"), ElementsAre("ab"));
    EXPECT_THAT(SplitAt(L"^a", L"aba"), ElementsAre(L"", L"ba"));
    EXPECT_THAT(SplitAt(L"a$", L"aba"), ElementsAre(L"ab"));
}

TEST(Split, TakesBytesAsTheyAre) {
    std::string const text("a\0b=\xC3\xA9", 6);
    EXPECT_THAT(SplitAt("=", text),
                ElementsAre(std::string("a\0b", 3), std::string("\xC3\xA9")));
}

TEST(Split, WideTextIsCutInTheSameWay) {
    EXPECT_THAT(SplitAt(L"/", L"/a//b/"), ElementsAre(L"", L"a", L"", L"b"));
    EXPECT_THAT(SplitAt(L"\u00E9", L"a\u00E9b\u00E9"), ElementsAre(L"a", L"b"));
}

TEST(SplitDelim, ARunOfAnyOfTheDelimitersIsOneCutAndTheEndsGiveNoPiece) {
    EXPECT_THAT(CutAtRuns("  a   b ", " "), ElementsAre("a", "b"));
    EXPECT_THAT(CutAtRuns(",; a;,b;c", ";, "), ElementsAre("a", "b", "c"));
    EXPECT_THAT(CutAtRuns("abc", " "), ElementsAre("abc"));
    EXPECT_THAT(CutAtRuns(" abc", " "), ElementsAre("abc"));
    EXPECT_THAT(CutAtRuns("a b", " "), ElementsAre("a", "b"));
}

TEST(SplitDelim, TextOfDelimitersAloneAndEmptyTextHaveNoPiece) {
    EXPECT_THAT(CutAtRuns("   ", " "), ElementsAre());
    EXPECT_THAT(CutAtRuns("", ""), ElementsAre());
}

TEST(SplitDelim, WithoutDelimitersTheWholeTextIsOnePiece) {
    EXPECT_THAT(CutAtRuns("a b", ""), ElementsAre("a b"));
    EXPECT_THAT(CutAtRuns(" ", ""), ElementsAre(" "));
}

TEST(SplitDelim, DelimitersAreExactCharacters) {
    EXPECT_THAT(CutAtRuns("axbXc", "x"), ElementsAre("a", "bXc"));
    EXPECT_THAT(split_delim(std::string("a\0b", 3), std::string(1, '\0'), Same),
                ElementsAre("a", "b"));
    EXPECT_THAT(split_delim(L"a\u20ACb\u00ACc", L"\u20AC", WideSame),
                ElementsAre(L"a", L"b\u00ACc"));
}

TEST(Tokenize, ACharacterEndsAPieceAsItEndsALine) {
    EXPECT_THAT(CutAtCharacter("a", ','), ElementsAre("a"));
    EXPECT_THAT(CutAtCharacter("a,,", ','), ElementsAre("a", ""));
    EXPECT_THAT(CutAtCharacter(",,", ','), ElementsAre("", ""));
    EXPECT_THAT(CutAtCharacter("a\nb,c\n", ','), ElementsAre("a\nb", "c\n"));
    EXPECT_THAT(CutAtCharacter("a b\n c", '\n'), ElementsAre("a b", " c"));
    EXPECT_THAT(tokenize(std::string("a\0b,c", 5), '\0', Same), ElementsAre("a", "b,c"));
    EXPECT_THAT(tokenize("\xFF\xE9\xFF", '\xE9', Same), ElementsAre("\xFF", "\xFF"));
    EXPECT_THAT(tokenize(L"a\u20ACb\u00ACc", L'\u20AC', WideSame),
                ElementsAre(L"a", L"b\u00ACc"));
}

TEST(Tokenize, ATextIsADelimiterAsAWhole) {
    EXPECT_THAT(CutAtText("a", ","), ElementsAre("a"));
    EXPECT_THAT(CutAtText("a, b,c, ", ", "), ElementsAre("a", "b,c", ""));
    EXPECT_THAT(CutAtText(", ", ", "), ElementsAre("", ""));
    EXPECT_THAT(CutAtText("a", "abc"), ElementsAre("a"));
    EXPECT_THAT(CutAtText("a---b", "--"), ElementsAre("a", "-b"));
    EXPECT_THAT(CutAtText("axxxxb", "xx"), ElementsAre("a", "", "b"));
    EXPECT_THAT(CutAtText("aXb", "x"), ElementsAre("aXb"));
    EXPECT_THAT(tokenize(L"a\u20AC\u20ACb", L"\u20AC\u20AC", WideSame),
                ElementsAre(L"a", L"b"));
}

// The three ways of cutting that take a transform, each on a text with the pieces "a",
// "b" and "c".
template <typename Text, typename Function>
std::vector<std::vector<Text>> EachWay(Text const& text, Text const& delimiter,
                                       Function const& transform) {
    return {split_delim(text, delimiter, transform),
            tokenize(text, delimiter[0], transform),
            tokenize(text, delimiter, transform)};
}

TEST(Transform, IsCalledOnceForEachPieceInOrderAndItsResultIsKept) {
    Pieces seen;
    Transform const number = [&seen](std::string& piece) {
        seen.push_back(piece);
        return piece + std::to_string(seen.size());
    };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", number),
                ElementsAre(ElementsAre("a1", "b2", "c3"), ElementsAre("a4", "b5", "c6"),
                            ElementsAre("a7", "b8", "c9")));
    EXPECT_THAT(seen, ElementsAre("a", "b", "c", "a", "b", "c", "a", "b", "c"));

    std::vector<std::wstring> wide_seen;
    WideTransform const wide_number = [&wide_seen](std::wstring& piece) {
        wide_seen.push_back(piece);
        return piece + std::to_wstring(wide_seen.size());
    };
    EXPECT_THAT(
        EachWay<std::wstring>(L"a,b,c", L",", wide_number),
        ElementsAre(ElementsAre(L"a1", L"b2", L"c3"), ElementsAre(L"a4", L"b5", L"c6"),
                    ElementsAre(L"a7", L"b8", L"c9")));
}

TEST(Transform, KeepsWhatItRemembersFromPieceToPieceWithinACall) {
    Transform const number = [seen = 0](std::string& piece) mutable {
        return piece + std::to_string(++seen);
    };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", number),
                testing::Each(ElementsAre("a1", "b2", "c3")));
    WideTransform const wide_number = [seen = 0](std::wstring& piece) mutable {
        return piece + std::to_wstring(++seen);
    };
    EXPECT_THAT(EachWay<std::wstring>(L"a,b,c", L",", wide_number),
                testing::Each(ElementsAre(L"a1", L"b2", L"c3")));
}

TEST(Transform, AnEmptyResultIsKeptToo) {
    Transform const nothing = [](std::string&) { return std::string(); };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", nothing),
                testing::Each(ElementsAre("", "", "")));
    WideTransform const wide_nothing = [](std::wstring&) { return std::wstring(); };
    EXPECT_THAT(EachWay<std::wstring>(L"a,b,c", L",", wide_nothing),
                testing::Each(ElementsAre(L"", L"", L"")));
}

TEST(Transform, WhatItDoesToThePieceIsNotKept) {
    Transform const spoil = [](std::string& piece) {
        std::string was = piece;
        piece = "spoiled, and long enough to need memory of its own";
        return was;
    };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", spoil),
                testing::Each(ElementsAre("a", "b", "c")));
    Transform const take = [](std::string& piece) { return std::move(piece); };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", take),
                testing::Each(ElementsAre("a", "b", "c")));
}

TEST(Transform, AnEmptyOneThrowsAtTheFirstPieceAndNotWithoutOne) {
    EXPECT_THROW(split_delim("a", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("a", ',', Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("a", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize(L"", L",", WideTransform()), std::bad_function_call);
    EXPECT_THROW(tokenize(L"a", L',', WideTransform()), std::bad_function_call);
    EXPECT_THROW(split_delim(L"a", L",", WideTransform()), std::bad_function_call);

    EXPECT_THAT(split_delim("", ",", Transform()), ElementsAre());
    EXPECT_THAT(split_delim(",", ",", Transform()), ElementsAre());
    EXPECT_THAT(tokenize("", ',', Transform()), ElementsAre());
    EXPECT_THAT(tokenize(L"", L',', WideTransform()), ElementsAre());
    EXPECT_THAT(split_delim(L",", L",", WideTransform()), ElementsAre());
}

TEST(Transform, WhatItThrowsStopsTheCutting) {
    int calls = 0;
    Transform const fail = [&calls](std::string& piece) {
        ++calls;
        return piece == "b" ? throw std::runtime_error("b") : piece;
    };
    EXPECT_THROW(split_delim("a,b,c", ",", fail), std::runtime_error);
    EXPECT_THROW(tokenize("a,b,c", ',', fail), std::runtime_error);
    EXPECT_THROW(tokenize("a,b,c", ",", fail), std::runtime_error);
    EXPECT_EQ(calls, 6);
}

TEST(Join, TheSeparatorStandsBetweenTheItemsAlone) {
    EXPECT_EQ(join({"a"}, ","), "a");
    EXPECT_EQ(join({""}, ","), "");
    EXPECT_EQ(join({"a", "b"}, ","), "a,b");
    EXPECT_EQ(join({"a", "b", "c"}, ", "), "a, b, c");
    EXPECT_EQ(join(Pieces{"", ""}, ","), ",");
    EXPECT_EQ(join(Pieces{"a", "b"}, ""), "ab");
    EXPECT_EQ(join({std::string("a\0", 2), "b"}, std::string(1, '\0')),
              std::string("a\0\0b", 4));
}

TEST(Split, TheNumberOfPiecesHasNoLimit) {
    std::size_t const count = 150000;
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "p,";
    }
    text.pop_back();
    Pieces const pieces(count, "p");
    EXPECT_TRUE(SplitAt(",", text) == pieces);
    EXPECT_TRUE(Narrow(SplitAt(L",", Wide(text))) == pieces);
    EXPECT_TRUE(CutAtRuns(text, ",") == pieces);
    EXPECT_TRUE(CutAtCharacter(text, ',') == pieces);
    EXPECT_TRUE(CutAtText(text, ",") == pieces);
    EXPECT_TRUE(join(pieces, ",") == text);
}

TEST(Join, AnEmptyListIsOutOfRange) {
    EXPECT_THROW(join({}, ","), std::out_of_range);
}

}  // namespace
