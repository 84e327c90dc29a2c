#include "tools/launchlist_check/source_text.h"

#include <gmock/gmock.h>

namespace launchlist_check {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "LINE:COLUMN" of an offset.
std::string Place(std::string const& text, std::size_t offset) {
    Position const position = Positions(text).Find(offset);
    return std::to_string(position.line) + ":" + std::to_string(position.column);
}

// "PATH/TO/KEY@OFFSET" of each repeated key.
std::vector<std::string> Repeated(std::string const& text) {
    std::vector<std::string> found;
    ScanKeys(text, [&found](RepeatedKey const& repeated) {
        std::string line;
        for (std::string const& key : repeated.path) {
            line += key + "/";
        }
        found.push_back(line + repeated.key + "@" + std::to_string(repeated.offset));
    });
    return found;
}

TEST(Positions, CountsLinesAndCharactersFromOne) {
    EXPECT_EQ(Place("ab\ncd", 0), "1:1");
    EXPECT_EQ(Place("ab\ncd", 2), "1:3");
    EXPECT_EQ(Place("ab\ncd", 3), "2:1");
    EXPECT_EQ(Place("ab\ncd", 4), "2:2");
    EXPECT_EQ(Place("\xC3\xA9x", 2), "1:2");
}

TEST(Positions, EveryKindOfLineEndIsOne) {
    EXPECT_EQ(Place("a\r\nb", 3), "2:1");
    EXPECT_EQ(Place("a\rb", 2), "2:1");
    EXPECT_EQ(Place("a\n\nb", 3), "3:1");
    EXPECT_EQ(Place("a\r\r\n\nb", 5), "4:1");
}

TEST(Positions, TheEndOfTheTextIsTheLastPlace) {
    EXPECT_EQ(Place("ab", 2), "1:3");
    EXPECT_EQ(Place("ab", 100), "1:3");
    EXPECT_EQ(Place("", 0), "1:1");
}

TEST(Positions, PlacesFarFromTheBeginningAreRight) {
    // Lines of 5 bytes: line ends and characters of two bytes are on every boundary.
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        text += "\xC3\xA9x\r\n";
    }
    Positions const positions(text);
    for (int i = 1999; i >= 0; --i) {
        Position const position = positions.Find(static_cast<std::size_t>(i) * 5 + 2);
        ASSERT_EQ(position.line, i + 1);
        ASSERT_EQ(position.column, 2);
    }
    EXPECT_EQ(positions.Find(text.size()).line, 2001);
    EXPECT_EQ(positions.Find(text.size()).column, 1);
}

TEST(ScanKeys, NamesTheKeyItsObjectAndItsPlace) {
    EXPECT_THAT(Repeated(R"({"a":1,"b":2,"a":3})"), ElementsAre("a@13"));
    EXPECT_THAT(Repeated(R"({"a":{"b":{"c":1,"c":2}}})"), ElementsAre("a/b/c@17"));
    EXPECT_THAT(Repeated(R"({"a":1,"a":2,"a":3})"), ElementsAre("a@7", "a@13"));
}

TEST(ScanKeys, TheSameKeyInAnotherObjectIsNotRepeated) {
    EXPECT_THAT(Repeated(R"({"a":{"a":1},"b":{"a":1}})"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"a":"a","b":"a","A":"a"})"), IsEmpty());
}

TEST(ScanKeys, KeysAreComparedAsTheyAreMeant) {
    EXPECT_THAT(Repeated(R"({"a":1,"\u0061":2})"), ElementsAre("a@7"));
    EXPECT_THAT(Repeated(R"({"\"":1,"\"":2})"), ElementsAre("\"@8"));
    EXPECT_THAT(Repeated(R"({"a\\":1,"a":2})"), IsEmpty());
}

TEST(ScanKeys, CommentsAndStringsHoldNoKeys) {
    EXPECT_THAT(Repeated("{\"a\":1, // \"a\":2,\n \"b\":\"}{\\\"a\\\"\"}"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"a":1, /* , "a":2, { */ "b":2, "b":3})"),
                ElementsAre("b@32"));
}

TEST(ScanKeys, WhatIsInAnArrayDoesNotCount) {
    EXPECT_THAT(Repeated(R"([{"a":1,"a":2}])"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"b":[{"a":1,"a":2}, "b", "b"],"b":1})"),
                ElementsAre("b@31"));
}

TEST(ScanKeys, LooksNoFurtherThanTheDocument) {
    EXPECT_THAT(Repeated(R"({"a":1} {"a":1,"a":2})"), IsEmpty());
}

TEST(ScanKeys, CountsTheValuesThatAreNotReplaced) {
    auto const count = [](std::string const& text) {
        return ScanKeys(text, [](RepeatedKey const&) {}).values;
    };
    EXPECT_EQ(count("[1,1,1,1]"), 4U);
    EXPECT_EQ(count(R"({"a":1,"b":"1,1,1","c":/*,,*/1})"), 3U);
    EXPECT_EQ(count(R"({"a":1,"a":1,"a":1})"), 1U);
    EXPECT_EQ(count(R"([{"a":1,"a":1}])"), 2U);
}

TEST(ScanKeys, FindsTheFirstValueThatIsTooDeepForMoreInside) {
    auto const deepest = [](std::size_t depth) {
        return ScanKeys("  " + std::string(depth, '['), [](RepeatedKey const&) {})
            .deepest;
    };
    EXPECT_EQ(deepest(999), 0U);
    EXPECT_EQ(deepest(1000), 1001U);
    EXPECT_EQ(deepest(5000), 1001U);
}

TEST(FindKeyBefore, SkipsTheColonAndBlanks) {
    auto const find = [](std::string const& text) {
        return FindKeyBefore(text, text.find('#'));
    };
    EXPECT_EQ(find(R"({"a":#})"), 1U);
    EXPECT_EQ(find("{\"a\" \n:\t #}"), 1U);
    EXPECT_EQ(find(R"({"":#})"), 1U);
    EXPECT_EQ(find(R"({"x":"y","a\"b":#})"), 9U);
    EXPECT_EQ(find(R"({"x":"y","a\\":#})"), 9U);
    EXPECT_EQ(find(R"({"x":"y","\\\"":#})"), 9U);
}

TEST(FindKeyBefore, WithoutAKeyOrWithACommentItIsTheValue) {
    auto const find = [](std::string const& text) {
        return FindKeyBefore(text, text.find('#'));
    };
    EXPECT_EQ(find("#"), 0U);
    EXPECT_EQ(find("[#]"), 1U);
    EXPECT_EQ(find(R"({"a": /* : */ #})"), 14U);
    EXPECT_EQ(find(R"({"a" /* " */: #})"), 14U);
    EXPECT_EQ(find(":#"), 1U);
    EXPECT_EQ(find("\":#"), 2U);
}

TEST(FindTextAfter, SkipsBlanksAndComments) {
    EXPECT_EQ(FindTextAfter("{} \r\n\t", 2), std::string::npos);
    EXPECT_EQ(FindTextAfter("{} // end", 2), std::string::npos);
    EXPECT_EQ(FindTextAfter("{} /* end */ ", 2), std::string::npos);
    EXPECT_EQ(FindTextAfter("{}", 2), std::string::npos);
    EXPECT_EQ(FindTextAfter("{} /* a */ // b\n x", 2), 17U);
    EXPECT_EQ(FindTextAfter("{}/* end", 2), 2U);
    EXPECT_EQ(FindTextAfter("{} / /", 2), 3U);
}

}  // namespace
}  // namespace launchlist_check
