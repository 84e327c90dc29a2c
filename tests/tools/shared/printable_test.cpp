#include "tools/shared/printable.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

TEST(Printable, LeavesOrdinaryTextAlone) {
    for (std::string const text :
         {"", "agent 7", "caf\xC3\xA9", "\xE4\xB8\xAD\xE6\x96\x87", "\xF0\x9F\x98\x80",
          R"("quoted" \ back)"}) {
        EXPECT_EQ(Printable(text), text);
    }
}

TEST(Printable, EscapesEveryControlCharacter) {
    for (int byte = 0; byte < 0x80; ++byte) {
        std::string const text(1, static_cast<char>(byte));
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(byte));
        EXPECT_EQ(Printable(text), byte < 0x20 || byte == 0x7F ? escaped : text);
    }
    EXPECT_EQ(Printable("a\nlist.json: error: b"), "a\\x0Alist.json: error: b");
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a\\x00b");
}

TEST(Printable, EscapesCharactersBeyondAsciiThatSteerATerminal) {
    EXPECT_EQ(Printable("\xC2\x9B"), "\\xC2\\x9B");
    EXPECT_EQ(Printable("\xC2\xA0"), "\xC2\xA0");
    EXPECT_EQ(Printable("\xE2\x80\xA7"), "\xE2\x80\xA7");
    EXPECT_EQ(Printable("\xE2\x80\xA8"), "\\xE2\\x80\\xA8");
    EXPECT_EQ(Printable("\xE2\x80\xAE"), "\\xE2\\x80\\xAE");
    EXPECT_EQ(Printable("\xE2\x80\xAF"), "\xE2\x80\xAF");
    EXPECT_EQ(Printable("\xE2\x81\xA6"), "\\xE2\\x81\\xA6");
}

TEST(Printable, EscapesWhatIsNotUtf8ByteByByte) {
    EXPECT_EQ(Printable("caf\xE9"), "caf\\xE9");
    EXPECT_EQ(Printable("\xC3"), "\\xC3");
    EXPECT_EQ(Printable("\xC3\x28"), "\\xC3(");
    EXPECT_EQ(Printable("\xC0\xAF"), "\\xC0\\xAF");
    EXPECT_EQ(Printable("\xE0\x80\xAF"), "\\xE0\\x80\\xAF");
    EXPECT_EQ(Printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(Printable("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
    EXPECT_EQ(Printable("\xF8\x88\x80\x80\x80"), "\\xF8\\x88\\x80\\x80\\x80");
    EXPECT_EQ(Printable("\x80"), "\\x80");
}

TEST(Quoted, PutsQuotationMarksAroundThePrintableText) {
    EXPECT_EQ(Quoted("a\tb"), "\"a\\x09b\"");
}

TEST(CountCharacters, CountsNoContinuation) {
    EXPECT_EQ(CountCharacters(""), 0U);
    EXPECT_EQ(CountCharacters("agent"), 5U);
    EXPECT_EQ(CountCharacters("caf\xC3\xA9\xF0\x9F\x98\x80"), 5U);
}

}  // namespace
