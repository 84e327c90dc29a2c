#include "tools/launchlog_report/content.h"

#include <gtest/gtest.h>

namespace launchlog_report {
namespace {

Content ContentOf(std::string const& text) {
    Content content;
    content.Add(text.data(), text.size());
    return content;
}

// Returns how much of `text` is known. It is read in pieces of this size.
std::uint64_t KnownLength(std::vector<std::string> const& known, std::string const& text,
                          std::size_t piece = 1) {
    std::vector<Content> contents;
    contents.reserve(known.size());
    for (std::string const& it : known) {
        contents.push_back(ContentOf(it));
    }
    ContentFinder finder(contents);
    for (std::size_t i = 0; i < text.size(); i += piece) {
        std::string const part = text.substr(i, piece);
        finder.Add(part.data(), part.size());
    }
    return finder.KnownLength();
}

TEST(ContentFinder, FindsTheLongestKnownBeginning) {
    for (std::size_t const piece : {1, 2, 3, 100}) {
        EXPECT_EQ(KnownLength({"abc", "ab", "abx", "zz"}, "abcd", piece), 3U);
        EXPECT_EQ(KnownLength({"abc"}, "abc", piece), 3U);
        EXPECT_EQ(KnownLength({"abd", "b"}, "abc", piece), 0U);
        EXPECT_EQ(KnownLength({}, "abc", piece), 0U);
    }
}

// A copy that was made before the last lines were read.
TEST(ContentFinder, ABeginningOfAKnownContentIsKnown) {
    EXPECT_EQ(KnownLength({"abcdef"}, "abc"), 3U);
    EXPECT_EQ(KnownLength({"abcdef"}, "abx"), 0U);
    EXPECT_EQ(KnownLength({"ab", "abcdef"}, "abx"), 2U);
    EXPECT_EQ(KnownLength({"abcdef"}, ""), 0U);
}

TEST(ContentFinder, EveryByteOfALongContentCounts) {
    std::string const text(100'000, 'a');
    std::string other = text;
    other[50'000] = 'b';
    EXPECT_EQ(KnownLength({text}, text + "b", 65536), 100'000U);
    EXPECT_EQ(KnownLength({text}, other + "b", 65536), 0U);
}

TEST(Content, KnowsItsEnd) {
    EXPECT_TRUE(ContentOf("").EndsWith(""));
    EXPECT_TRUE(ContentOf("abc").EndsWith("abc"));
    EXPECT_FALSE(ContentOf("abc").EndsWith("abd"));
    Content content = ContentOf(std::string(100, 'a'));
    content.Add("b", 1);
    EXPECT_EQ(content.KeptEnd(), 64U);
    EXPECT_TRUE(content.EndsWith(std::string(63, 'a') + "b"));
}

}  // namespace
}  // namespace launchlog_report
