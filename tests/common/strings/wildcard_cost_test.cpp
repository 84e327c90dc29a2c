// What a match takes: stack for each "*" and "<" alone, and no memory.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <functional>
#include <string>

#include "common/strings/wildcard.h"
#include "tests/support/allocation_limit.h"

namespace {

// Far more than a match of some wildcards needs, with a sanitizer too, and far less than
// one call for each letter takes.
std::size_t const kSmallStack = 256 << 10;
std::size_t const kLetters = 1000000;

void* Call(void* function) {
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

// Calls the function in a thread with a small stack, which ends the program if it is used
// up, and without memory.
void CallWithinSmallStack(std::function<void()> function) {
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, Call, &function), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

void ExpectMatch(std::string const& expression, std::string const& name, bool expected) {
    std::wstring const wide_expression(expression.begin(), expression.end());
    std::wstring const wide_name(name.begin(), name.end());
    bool narrow = !expected;
    bool wide = !expected;
    CallWithinSmallStack([&] {
        AllocationLimit const none(0);
        narrow = IsNameInExpressionA(expression.c_str(), name.c_str(), false);
        wide = IsNameInExpression(wide_expression.c_str(), wide_name.c_str(), false);
    });
    EXPECT_EQ(narrow, expected);
    EXPECT_EQ(wide, expected);
}

TEST(WildcardCost, LettersTakeNoStack) {
    std::string const letters(kLetters, 'a');
    ExpectMatch(letters, letters, true);
    ExpectMatch("*" + letters, "b" + letters, true);
}

TEST(WildcardCost, SingleCharactersTakeNoStack) {
    std::string const letters(kLetters, 'a');
    std::string const dots(kLetters, '.');
    ExpectMatch(std::string(kLetters, '?'), letters, true);
    ExpectMatch(std::string(kLetters, '>'), letters, true);
    ExpectMatch(std::string(kLetters, '"'), dots, true);
    ExpectMatch(std::string(kLetters, '"') + "b", "b", true);
}

TEST(WildcardCost, TheLengthOfARunTakesNoStack) {
    std::string const letters(kLetters, 'a');
    ExpectMatch("*b", letters + "b", true);
    ExpectMatch("*b", letters, false);
    ExpectMatch("<.b", letters + ".b", true);
    ExpectMatch("<.b", letters + ".c", false);
    ExpectMatch("a<b", letters, false);
}

TEST(WildcardCost, AHundredRunsTakeLittleStack) {
    std::string expression;
    std::string name;
    for (int i = 0; i < 100; ++i) {
        expression += i % 2 == 0 ? "*a" : "<a";
        name += "a";
    }
    ExpectMatch(expression, name, true);
}

}  // namespace
