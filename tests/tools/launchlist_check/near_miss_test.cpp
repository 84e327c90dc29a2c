#include "tools/launchlist_check/near_miss.h"

#include <gtest/gtest.h>

namespace launchlist_check {
namespace {

std::string Nearest(std::string const& word) {
    return NearMiss(word, {"name", "program", "args", "argc"});
}

TEST(NearMiss, FindsWordsWithUpToTwoLettersWrong) {
    EXPECT_EQ(Nearest("arg"), "args");
    EXPECT_EQ(Nearest("argss"), "args");
    EXPECT_EQ(Nearest("argd"), "args");
    EXPECT_EQ(Nearest("agrc"), "argc");
    EXPECT_EQ(Nearest("nmae"), "name");
    EXPECT_EQ(Nearest("nmaes"), "name");
    EXPECT_EQ(Nearest("nane"), "name");
    EXPECT_EQ(Nearest("progrm"), "program");
    EXPECT_EQ(Nearest("programme"), "program");
    EXPECT_EQ(Nearest("progrmma"), "program");
    EXPECT_EQ(Nearest("namely"), "name");
}

TEST(NearMiss, IgnoresCase) {
    EXPECT_EQ(Nearest("Name"), "name");
    EXPECT_EQ(Nearest("PROGRAM"), "program");
}

TEST(NearMiss, ABeginningOfThreeLettersIsNear) {
    EXPECT_EQ(Nearest("prog"), "program");
    EXPECT_EQ(Nearest("program_path"), "program");
    EXPECT_EQ(Nearest("pro"), "program");
    EXPECT_EQ(Nearest("pr"), "");
}

TEST(NearMiss, KnowsTheWordsOfOtherSupervisors) {
    EXPECT_EQ(Nearest("arguments"), "args");
    EXPECT_EQ(Nearest("path"), "program");
    EXPECT_EQ(Nearest("Command"), "program");
    EXPECT_EQ(Nearest("label"), "name");
    EXPECT_EQ(NearMiss("path", {"name", "args"}), "");
}

TEST(NearMiss, FindsNothingForShortWordsAndFarOnes) {
    for (char const* const word : {"owner", "comment", "x", "na", "env", "grade", ""}) {
        EXPECT_EQ(Nearest(word), "") << word;
    }
    EXPECT_EQ(Nearest(std::string(100000, 'n')), "");
    EXPECT_EQ(NearMiss("name", {}), "");
}

}  // namespace
}  // namespace launchlist_check
