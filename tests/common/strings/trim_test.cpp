#include "common/strings/trim.h"

#include <gtest/gtest.h>

#include "tests/support/locale_in_use.h"

namespace {

std::string Trimmed(std::string text) {
    return trim(text);
}

TEST(Trim, TheExampleOfItsHeader) {
    std::string line = "\t[LOG]\r\n";
    EXPECT_EQ(trim(line), "[LOG]");
}

TEST(Trim, ChangesTheTextInPlaceAndReturnsTheVeryText) {
    std::string text = " a ";
    EXPECT_EQ(&trim(text), &text);
    EXPECT_EQ(text, "a");
}

TEST(Trim, KeepsWhatStandsInside) {
    EXPECT_EQ(Trimmed("  a \t\n b  "), "a \t\n b");
    EXPECT_EQ(Trimmed("a b"), "a b");
}

TEST(Trim, TextOfBlanksAndLineBreaksAloneBecomesEmpty) {
    EXPECT_EQ(Trimmed(" \t\n\v\f\r "), "");
    EXPECT_EQ(Trimmed("\n"), "");
    EXPECT_EQ(Trimmed(""), "");
}

TEST(Trim, RemovesTheSixAsciiBlanksAndNoOtherByteWhateverTheLocale) {
    InEveryLocale([] {
        for (int byte = 0; byte < 256; ++byte) {
            std::string const one(1, static_cast<char>(byte));
            bool const blank = byte == 32 || (byte >= 9 && byte <= 13);
            EXPECT_EQ(Trimmed(one), blank ? "" : one) << byte;
            std::string around = one;
            around.append("a").append(one);
            EXPECT_EQ(Trimmed(around), blank ? "a" : around) << byte;
        }
    });
}

}  // namespace
