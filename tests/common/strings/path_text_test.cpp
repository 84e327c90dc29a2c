#include "common/strings/path_text.h"

#include <gtest/gtest.h>

namespace {

struct Parts {
    std::string container;
    std::string rest;
};

bool operator==(Parts const& a, Parts const& b) {
    return a.container == b.container && a.rest == b.rest;
}

void PrintTo(Parts const& parts, std::ostream* out) {
    *out << "'" << parts.container << "' and '" << parts.rest << "'";
}

Parts const kUntouched = {"container before", "rest before"};

Parts SplitContainer(std::string const& path) {
    Parts parts = kUntouched;
    split_container_name(path, parts.container, parts.rest);
    return parts;
}

TEST(PathText, TheExamplesOfItsHeader) {
    EXPECT_EQ(ensure_ends_with_divider("a"), "a/");
    EXPECT_EQ(remove_head_slashes("//a/b"), "a/b");
    EXPECT_EQ(remove_tail_slashes("a/b//"), "a/b");
    EXPECT_EQ(remove_duplicated_slashes("a//b"), "a/b");
    EXPECT_EQ(get_file_name("a/b.txt"), "b.txt");
    std::string container;
    std::string rest;
    split_container_name("/a/b/c", container, rest);
    EXPECT_EQ(container, "a");
    EXPECT_EQ(rest, "b/c");
}

TEST(PathText, EnsureEndsWithDividerKnowsTheSlashAlone) {
    EXPECT_EQ(ensure_ends_with_divider(""), "/");
    EXPECT_EQ(ensure_ends_with_divider("a/"), "a/");
    EXPECT_EQ(ensure_ends_with_divider("a//"), "a//");
    EXPECT_EQ(ensure_ends_with_divider("/"), "/");
    EXPECT_EQ(ensure_ends_with_divider(R"(a\)"), R"(a\/)");
}

TEST(PathText, EachFunctionOnEachKindOfPath) {
    struct Row {
        std::string path;
        std::string without_head;
        std::string without_tail;
        std::string without_duplicates;
        std::string file_name;
        Parts parts;
    };
    Row const rows[] = {
        {"", "", "", "", "", kUntouched},
        {"/a/b", "a/b", "/a/b", "/a/b", "b", {"a", "b"}},
        {"a/b/", "a/b/", "a/b", "a/b/", "", {"a", "b/"}},
        {"//a//b//", "a//b//", "//a//b", "/a/b/", "", {"a", "/b//"}},
        {R"(\a\b\)", R"(a\b\)", R"(\a\b)", R"(\a\b\)", R"(\a\b\)", {R"(a\b\)", ""}},
        {"///", "///", "///", "/", "", {"", "//"}},
        {R"(\\)", R"(\\)", R"(\\)", R"(\\)", R"(\\)", {R"(\\)", ""}},
        {"name", "name", "name", "name", "name", {"name", ""}},
        // Dividers of both kinds, mixed.
        {R"(/\a/\b\/)", R"(a/\b\/)", R"(/\a/\b)", R"(/\a/\b\/)", "", {"a", R"(\b\/)"}},
        {R"(/\/)", R"(/\/)", R"(/\/)", R"(/\/)", "", {"", R"(\/)"}},
        {R"(\a//b\\c)",
         R"(a//b\\c)",
         R"(\a//b\\c)",
         R"(\a/b\\c)",
         R"(b\\c)",
         {"a", R"(/b\\c)"}},
        // Dots are names like any other.
        {"./..", "./..", "./..", "./..", "..", {".", ".."}}};
    for (Row const& row : rows) {
        SCOPED_TRACE("'" + row.path + "'");
        EXPECT_EQ(remove_head_slashes(row.path), row.without_head);
        EXPECT_EQ(remove_tail_slashes(row.path), row.without_tail);
        EXPECT_EQ(remove_duplicated_slashes(row.path), row.without_duplicates);
        EXPECT_EQ(get_file_name(row.path), row.file_name);
        EXPECT_EQ(SplitContainer(row.path), row.parts);
    }
}

TEST(PathText, SplitContainerNameMayWriteToTheVeryPath) {
    std::string path = "/a/b";
    std::string rest;
    split_container_name(path, path, rest);
    EXPECT_EQ(path, "a");
    EXPECT_EQ(rest, "b");
}

TEST(PathText, BytesPassAsTheyAre) {
    std::string const path("/\xC3\xA9\0//\xFF/", 8);
    EXPECT_EQ(remove_head_slashes(path), std::string("\xC3\xA9\0//\xFF/", 7));
    EXPECT_EQ(remove_tail_slashes(path), std::string("/\xC3\xA9\0//\xFF", 7));
    EXPECT_EQ(remove_duplicated_slashes(path), std::string("/\xC3\xA9\0/\xFF/", 7));
    EXPECT_EQ(SplitContainer(path),
              (Parts{std::string("\xC3\xA9\0", 3), std::string("/\xFF/", 3)}));
}

}  // namespace
