#include "tools/launchlist_check/source_text.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "LINE:COLUMN" of an offset.
std::string Place(std::string const& text, std::size_t offset) {
    Position const position = PositionFinder(text).Find(offset);
    return std::to_string(position.line) + ":" + std::to_string(position.column);
}

// "PATH/TO/KEY@OFFSET" of each repeated key.
std::vector<std::string> Repeated(std::string const& text) {
    std::vector<std::string> found;
    for (RepeatedKey const& repeated : FindRepeatedKeys(text, text.size())) {
        std::string line;
        for (std::string const& key : repeated.path) {
            line += key + "/";
        }
        found.push_back(line + repeated.key + "@" + std::to_string(repeated.offset));
    }
    return found;
}

TEST(PositionFinder, CountsLinesAndCharactersFromOne) {
    EXPECT_EQ(Place("ab\ncd", 0), "1:1");
    EXPECT_EQ(Place("ab\ncd", 2), "1:3");
    EXPECT_EQ(Place("ab\ncd", 3), "2:1");
    EXPECT_EQ(Place("ab\ncd", 4), "2:2");
    EXPECT_EQ(Place("\xC3\xA9x", 2), "1:2");
}

TEST(PositionFinder, EveryKindOfLineEndIsOne) {
    EXPECT_EQ(Place("a\r\nb", 3), "2:1");
    EXPECT_EQ(Place("a\rb", 2), "2:1");
    EXPECT_EQ(Place("a\n\nb", 3), "3:1");
    EXPECT_EQ(Place("a\r\r\n\nb", 5), "4:1");
}

TEST(PositionFinder, TheEndOfTheTextIsTheLastPlace) {
    EXPECT_EQ(Place("ab", 2), "1:3");
    EXPECT_EQ(Place("ab", 100), "1:3");
    EXPECT_EQ(Place("", 0), "1:1");
}

TEST(PositionFinder, GoesOnAndBack) {
    std::string const text = "ab\ncd\nef";
    PositionFinder finder(text);
    EXPECT_EQ(finder.Find(7).line, 3);
    EXPECT_EQ(finder.Find(4).line, 2);
    EXPECT_EQ(finder.Find(4).column, 2);
    EXPECT_EQ(finder.Find(6).column, 1);
}

TEST(FindRepeatedKeys, NamesTheKeyItsObjectAndItsPlace) {
    EXPECT_THAT(Repeated(R"({"a":1,"b":2,"a":3})"), ElementsAre("a@13"));
    EXPECT_THAT(Repeated(R"({"a":{"b":{"c":1,"c":2}}})"), ElementsAre("a/b/c@17"));
    EXPECT_THAT(Repeated(R"({"a":1,"a":2,"a":3})"), ElementsAre("a@7", "a@13"));
}

TEST(FindRepeatedKeys, TheSameKeyInOtherObjectsIsNone) {
    EXPECT_THAT(Repeated(R"({"a":{"a":1},"b":{"a":1}})"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"a":"a","b":"a","A":"a"})"), IsEmpty());
}

TEST(FindRepeatedKeys, KeysAreComparedAsTheyAreMeant) {
    EXPECT_THAT(Repeated(R"({"a":1,"\u0061":2})"), ElementsAre("a@7"));
    EXPECT_THAT(Repeated(R"({"\"":1,"\"":2})"), ElementsAre("\"@8"));
    EXPECT_THAT(Repeated(R"({"a\\":1,"a":2})"), IsEmpty());
}

TEST(FindRepeatedKeys, CommentsAndStringsHoldNone) {
    EXPECT_THAT(Repeated("{\"a\":1, // \"a\":2,\n \"b\":\"}{\\\"a\\\"\"}"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"a":1, /* , "a":2, { */ "b":2, "b":3})"),
                ElementsAre("b@32"));
}

TEST(FindRepeatedKeys, WhatIsInAnArrayDoesNotCount) {
    EXPECT_THAT(Repeated(R"([{"a":1,"a":2}])"), IsEmpty());
    EXPECT_THAT(Repeated(R"({"b":[{"a":1,"a":2}, "b", "b"],"b":1})"),
                ElementsAre("b@31"));
}

TEST(FindRepeatedKeys, LooksNoFurtherThanTheEnd) {
    std::string const text = R"({"a":1},"a":2,"a":3)";
    EXPECT_THAT(FindRepeatedKeys(text, 7), IsEmpty());
}

TEST(FindTextBehind, PassesBlanksAndComments) {
    EXPECT_EQ(FindTextBehind("{} \r\n\t", 2), std::string::npos);
    EXPECT_EQ(FindTextBehind("{} // end", 2), std::string::npos);
    EXPECT_EQ(FindTextBehind("{} /* end */ ", 2), std::string::npos);
    EXPECT_EQ(FindTextBehind("{}", 2), std::string::npos);
    EXPECT_EQ(FindTextBehind("{} /* a */ // b\n x", 2), 17U);
    EXPECT_EQ(FindTextBehind("{}/* end", 2), 2U);
    EXPECT_EQ(FindTextBehind("{} / /", 2), 3U);
}

}  // namespace
