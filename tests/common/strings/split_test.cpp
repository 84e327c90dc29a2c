#include "common/strings/split.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "tests/common/strings/pieces.h"
#include "tests/common/strings/separators.h"

namespace {

using Transform = std::function<std::string(std::string&)>;
using WideTransform = std::function<std::wstring(std::wstring&)>;

Pieces SplitAt(std::string const& pattern, std::string const& text) {
    return split(text, Separator(pattern));
}

WidePieces SplitAt(std::wstring const& pattern, std::wstring const& text) {
    return split(text, Separator(pattern));
}

// Wide pieces of ASCII text, as narrow ones.
Pieces Narrow(WidePieces const& pieces) {
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
    EXPECT_EQ(split("a//b/", Separator("/")), Pieces({"a", "", "b"}));
    EXPECT_EQ(split_delim("  a b ", " ", same), Pieces({"a", "b"}));
    EXPECT_EQ(tokenize("a,", ',', same), Pieces({"a"}));
    EXPECT_EQ(tokenize("a,", ",", same), Pieces({"a", ""}));
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
    EXPECT_EQ(SplitAt("/", "/a/b"), Pieces({"", "a", "b"}));
    EXPECT_EQ(SplitAt("/", "a/b/"), Pieces({"a", "b"}));
    EXPECT_EQ(SplitAt("/", "a/b//"), Pieces({"a", "b", ""}));
    EXPECT_EQ(SplitAt("/", "name"), Pieces({"name"}));
    EXPECT_EQ(SplitAt("/", "//"), Pieces({"", ""}));
    EXPECT_EQ(SplitAt("=", "k=a=b"), Pieces({"k", "a", "b"}));
    EXPECT_EQ(SplitAt("=", "k="), Pieces({"k"}));
    EXPECT_EQ(SplitAt("=", "k==x"), Pieces({"k", "", "x"}));
}

TEST(Split, AnExpressionThatMatchesTheEmptyTextCutsInFrontOfEveryCharacter) {
    EXPECT_EQ(SplitAt("", "abc"), Pieces({"", "a", "b", "c"}));
    EXPECT_EQ(SplitAt("", ""), Pieces({""}));
    EXPECT_EQ(SplitAt("b*", "abbc"), Pieces({"", "a", "", "c"}));
    EXPECT_EQ(SplitAt(L"", L"abc"), WidePieces({L"", L"a", L"b", L"c"}));
}

TEST(Split, TheSeparatorIsAnExpressionOfTheCallersGrammar) {
    EXPECT_EQ(SplitAt("[,;]+", "a,;b;c"), Pieces({"a", "b", "c"}));
    EXPECT_EQ(split("aXbxc", Separator("x", std::regex::icase)), Pieces({"a", "b", "c"}));
    EXPECT_EQ(split("a+b", Separator("+", std::regex::basic)), Pieces({"a", "b"}));
}

TEST(Split, AnExpressionFindsTheStartAndTheEndOfTheText) {
    EXPECT_EQ(SplitAt("^a", "aba"), Pieces({"", "ba"}));
    EXPECT_EQ(SplitAt("a$", "aba"), Pieces({"ab"}));
    EXPECT_EQ(SplitAt(L"^a", L"aba"), WidePieces({L"", L"ba"}));
    EXPECT_EQ(SplitAt(L"a$", L"aba"), WidePieces({L"ab"}));
}

TEST(Split, TakesBytesAsTheyAre) {
    std::string const text("a\0b=\xC3\xA9", 6);
    EXPECT_EQ(SplitAt("=", text),
              Pieces({std::string("a\0b", 3), std::string("\xC3\xA9")}));
}

TEST(Split, WideTextIsCutInTheSameWay) {
    EXPECT_EQ(SplitAt(L"/", L"/a//b/"), WidePieces({L"", L"a", L"", L"b"}));
    EXPECT_EQ(SplitAt(L"\u00E9", L"a\u00E9b\u00E9"), WidePieces({L"a", L"b"}));
}

TEST(SplitDelim, ARunOfAnyOfTheDelimitersIsOneCutAndTheEndsGiveNoPiece) {
    EXPECT_EQ(CutAtRuns("  a   b ", " "), Pieces({"a", "b"}));
    EXPECT_EQ(CutAtRuns(",; a;,b;c", ";, "), Pieces({"a", "b", "c"}));
    EXPECT_EQ(CutAtRuns("abc", " "), Pieces({"abc"}));
    EXPECT_EQ(CutAtRuns(" abc", " "), Pieces({"abc"}));
    EXPECT_EQ(CutAtRuns("a b", " "), Pieces({"a", "b"}));
}

TEST(SplitDelim, TextOfDelimitersAloneAndEmptyTextHaveNoPiece) {
    EXPECT_EQ(CutAtRuns("   ", " "), Pieces());
    EXPECT_EQ(CutAtRuns("", ""), Pieces());
}

TEST(SplitDelim, WithoutDelimitersTheWholeTextIsOnePiece) {
    EXPECT_EQ(CutAtRuns("a b", ""), Pieces({"a b"}));
    EXPECT_EQ(CutAtRuns(" ", ""), Pieces({" "}));
}

TEST(SplitDelim, DelimitersAreExactCharacters) {
    EXPECT_EQ(CutAtRuns("axbXc", "x"), Pieces({"a", "bXc"}));
    EXPECT_EQ(split_delim(std::string("a\0b", 3), std::string(1, '\0'), Same),
              Pieces({"a", "b"}));
    EXPECT_EQ(split_delim(L"a\u20ACb\u00ACc", L"\u20AC", WideSame),
              WidePieces({L"a", L"b\u00ACc"}));
}

TEST(Tokenize, ACharacterEndsAPieceAsItEndsALine) {
    EXPECT_EQ(CutAtCharacter("a", ','), Pieces({"a"}));
    EXPECT_EQ(CutAtCharacter("a,,", ','), Pieces({"a", ""}));
    EXPECT_EQ(CutAtCharacter(",,", ','), Pieces({"", ""}));
    EXPECT_EQ(CutAtCharacter("a\nb,c\n", ','), Pieces({"a\nb", "c\n"}));
    EXPECT_EQ(CutAtCharacter("a b\n c", '\n'), Pieces({"a b", " c"}));
    EXPECT_EQ(tokenize(std::string("a\0b,c", 5), '\0', Same), Pieces({"a", "b,c"}));
    EXPECT_EQ(tokenize("\xFF\xE9\xFF", '\xE9', Same), Pieces({"\xFF", "\xFF"}));
    EXPECT_EQ(tokenize(L"a\u20ACb\u00ACc", L'\u20AC', WideSame),
              WidePieces({L"a", L"b\u00ACc"}));
}

TEST(Tokenize, ATextIsADelimiterAsAWhole) {
    EXPECT_EQ(CutAtText("a", ","), Pieces({"a"}));
    EXPECT_EQ(CutAtText("a, b,c, ", ", "), Pieces({"a", "b,c", ""}));
    EXPECT_EQ(CutAtText(", ", ", "), Pieces({"", ""}));
    EXPECT_EQ(CutAtText("a", "abc"), Pieces({"a"}));
    EXPECT_EQ(CutAtText("a---b", "--"), Pieces({"a", "-b"}));
    EXPECT_EQ(CutAtText("axxxxb", "xx"), Pieces({"a", "", "b"}));
    EXPECT_EQ(CutAtText("aXb", "x"), Pieces({"aXb"}));
    EXPECT_EQ(tokenize(L"a\u20AC\u20ACb", L"\u20AC\u20AC", WideSame),
              WidePieces({L"a", L"b"}));
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
    EXPECT_THAT(
        EachWay<std::string>("a,b,c", ",", number),
        testing::ElementsAre(Pieces({"a1", "b2", "c3"}), Pieces({"a4", "b5", "c6"}),
                             Pieces({"a7", "b8", "c9"})));
    EXPECT_EQ(seen, Pieces({"a", "b", "c", "a", "b", "c", "a", "b", "c"}));

    WidePieces wide_seen;
    WideTransform const wide_number = [&wide_seen](std::wstring& piece) {
        wide_seen.push_back(piece);
        return piece + std::to_wstring(wide_seen.size());
    };
    EXPECT_THAT(EachWay<std::wstring>(L"a,b,c", L",", wide_number),
                testing::ElementsAre(WidePieces({L"a1", L"b2", L"c3"}),
                                     WidePieces({L"a4", L"b5", L"c6"}),
                                     WidePieces({L"a7", L"b8", L"c9"})));
}

TEST(Transform, KeepsWhatItRemembersFromPieceToPieceWithinACall) {
    Transform const number = [seen = 0](std::string& piece) mutable {
        return piece + std::to_string(++seen);
    };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", number),
                testing::Each(Pieces({"a1", "b2", "c3"})));
    WideTransform const wide_number = [seen = 0](std::wstring& piece) mutable {
        return piece + std::to_wstring(++seen);
    };
    EXPECT_THAT(EachWay<std::wstring>(L"a,b,c", L",", wide_number),
                testing::Each(WidePieces({L"a1", L"b2", L"c3"})));
}

TEST(Transform, AnEmptyResultIsKeptToo) {
    Transform const nothing = [](std::string&) { return std::string(); };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", nothing),
                testing::Each(Pieces({"", "", ""})));
    WideTransform const wide_nothing = [](std::wstring&) { return std::wstring(); };
    EXPECT_THAT(EachWay<std::wstring>(L"a,b,c", L",", wide_nothing),
                testing::Each(WidePieces({L"", L"", L""})));
}

TEST(Transform, WhatItDoesToThePieceIsNotKept) {
    Transform const spoil = [](std::string& piece) {
        std::string was = piece;
        piece = "spoiled, and long enough to need memory of its own";
        return was;
    };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", spoil),
                testing::Each(Pieces({"a", "b", "c"})));
    Transform const take = [](std::string& piece) { return std::move(piece); };
    EXPECT_THAT(EachWay<std::string>("a,b,c", ",", take),
                testing::Each(Pieces({"a", "b", "c"})));
}

TEST(Transform, AnEmptyOneThrowsAtTheFirstPieceAndNotWithoutOne) {
    EXPECT_THROW(split_delim("a", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("a", ',', Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("a", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize("", ",", Transform()), std::bad_function_call);
    EXPECT_THROW(tokenize(L"", L",", WideTransform()), std::bad_function_call);
    EXPECT_THROW(tokenize(L"a", L',', WideTransform()), std::bad_function_call);
    EXPECT_THROW(split_delim(L"a", L",", WideTransform()), std::bad_function_call);

    EXPECT_EQ(split_delim("", ",", Transform()), Pieces());
    EXPECT_EQ(split_delim(",", ",", Transform()), Pieces());
    EXPECT_EQ(tokenize("", ',', Transform()), Pieces());
    EXPECT_EQ(tokenize(L"", L',', WideTransform()), WidePieces());
    EXPECT_EQ(split_delim(L",", L",", WideTransform()), WidePieces());
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
