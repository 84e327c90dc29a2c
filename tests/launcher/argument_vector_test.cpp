#include "launcher/argument_vector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>

#include <stdexcept>

namespace {

using testing::ElementsAre;

// Returns the vector up to its null, for the program "/bin/p" of an item.
std::vector<std::string> ArgumentsOf(char const* item_text) {
    std::string program = "/bin/p";
    JsonObject item(item_text);
    ArgumentVector const vector(program, item);
    std::vector<std::string> arguments;
    for (char* const* argument = vector.Data(); *argument != nullptr; ++argument) {
        arguments.emplace_back(*argument);
    }
    return arguments;
}

TEST(ArgumentVector, IsTheProgramAndAsManyArgumentsAsArgcSays) {
    EXPECT_THAT(ArgumentsOf("{}"), ElementsAre("/bin/p"));
    EXPECT_THAT(ArgumentsOf(R"({"argc": 0, "args": {"0": "a"}})"), ElementsAre("/bin/p"));
    EXPECT_THAT(ArgumentsOf(R"({"argc": 2, "args": {"0": "a", "1": "b", "2": "c"}})"),
                ElementsAre("/bin/p", "a", "b"));
}

TEST(ArgumentVector, AMissingArgumentIsEmpty) {
    EXPECT_THAT(ArgumentsOf(R"({"argc": 2})"), ElementsAre("/bin/p", "", ""));
    EXPECT_THAT(ArgumentsOf(R"({"argc": 3, "args": {"1": "b"}})"),
                ElementsAre("/bin/p", "", "b", ""));
}

TEST(ArgumentVector, IsEmptyIfArgcIsNegative) {
    EXPECT_THAT(ArgumentsOf(R"({"argc": -1})"), testing::IsEmpty());
    EXPECT_THAT(ArgumentsOf(R"({"argc": -2147483648})"), testing::IsEmpty());
}

TEST(ArgumentVector, HasRoomForAMillionEntries) {
    EXPECT_EQ(ArgumentsOf(R"({"argc": 1048575})").size(), 1048576U);
}

TEST(ArgumentVector, BorrowsTheProgram) {
    std::string program = "/bin/p";
    JsonObject item("{}");
    EXPECT_EQ(ArgumentVector(program, item).Data()[0], program.data());
}

// That the arguments before the wrong one are freed is seen by a sanitizer.
TEST(ArgumentVector, WhatCannotBeReadIsThrown) {
    EXPECT_THROW(ArgumentsOf(R"({"argc": 3, "args": {"0": "a", "1": "b", "2": []}})"),
                 Json::Exception);
    EXPECT_THROW(ArgumentsOf(R"({"argc": 1, "args": ["a"]})"), Json::Exception);
    EXPECT_THROW(ArgumentsOf(R"({"argc": "1"})"), Json::Exception);
    EXPECT_THROW(ArgumentsOf(R"({"argc": 1048576})"), std::length_error);
}

}  // namespace
