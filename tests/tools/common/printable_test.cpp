#include "tools/common/printable.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <string>

namespace tools {
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
}

// Returns the character in UTF-8.
std::string Utf8(char32_t character) {
    auto const byte = [character](unsigned shift) {
        return static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x800) {
        return {static_cast<char>(0xC0U | (character >> 6U)), byte(0)};
    }
    if (character < 0x10000) {
        return {static_cast<char>(0xE0U | (character >> 12U)), byte(6), byte(0)};
    }
    return {static_cast<char>(0xF0U | (character >> 18U)), byte(12), byte(6), byte(0)};
}

bool IsEscaped(char32_t character) {
    return Printable(Utf8(character)).rfind("\\x", 0) == 0;
}

TEST(Printable, EscapesEveryCharacterThatHidesOrTurnsTheWriting) {
    struct {
        char32_t first;
        char32_t last;
    } const ranges[] = {{0xAD, 0xAD},       {0x34F, 0x34F},    {0x61C, 0x61C},
                        {0x115F, 0x1160},   {0x17B4, 0x17B5},  {0x180B, 0x180F},
                        {0x200B, 0x200F},   {0x2028, 0x202E},  {0x2060, 0x206F},
                        {0x3164, 0x3164},   {0xFE00, 0xFE0F},  {0xFEFF, 0xFEFF},
                        {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},  {0x1BCA0, 0x1BCA3},
                        {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
    for (auto const& [first, last] : ranges) {
        EXPECT_FALSE(IsEscaped(first - 1)) << std::hex << first;
        for (char32_t character = first; character <= last; ++character) {
            EXPECT_TRUE(IsEscaped(character)) << std::hex << character;
        }
        EXPECT_FALSE(IsEscaped(last + 1)) << std::hex << last;
    }
    // Accents that are characters of their own, as macOS writes them in file names.
    EXPECT_EQ(Printable("e\xCC\x81"), "e\xCC\x81");
    EXPECT_EQ(Printable("\xE2\x80\x8B"), "\\xE2\\x80\\x8B");
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

TEST(ToUtf8, ReplacesEachByteThatIsNotUtf8) {
    std::string const replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(ToUtf8(""), "");
    EXPECT_EQ(ToUtf8("caf\xC3\xA9\n\xF0\x9F\x98\x80"), "caf\xC3\xA9\n\xF0\x9F\x98\x80");
    EXPECT_EQ(ToUtf8("caf\xE9"), "caf" + replacement);
    EXPECT_EQ(ToUtf8("\xC3(\xFF"), replacement + "(" + replacement);
    EXPECT_EQ(ToUtf8("\xED\xA0\x80"), replacement + replacement + replacement);
    EXPECT_EQ(ToUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(CountColumns, CountsWhatATerminalShows) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(CountColumns(""), 0U);
    EXPECT_EQ(CountColumns("caf\xC3\xA9"), 4U);
    EXPECT_EQ(CountColumns("e\xCC\x81"), 1U);
    EXPECT_EQ(CountColumns("\xE4\xB8\xAD\xE6\x96\x87"), 4U);
}

TEST(CutToColumns, EndsWithAnEllipsisIfItIsCut) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::string const ellipsis = "\xE2\x80\xA6";
    EXPECT_EQ(CutToColumns("agent", 5), "agent");
    EXPECT_EQ(CutToColumns("agent", 4), "age" + ellipsis);
    EXPECT_EQ(CutToColumns("agent", 1), ellipsis);
    EXPECT_EQ(CutToColumns("agent", 0), "");
    EXPECT_EQ(CutToColumns("", 0), "");
    // Characters of two columns.
    EXPECT_EQ(CutToColumns("\xE4\xB8\xAD\xE6\x96\x87", 4), "\xE4\xB8\xAD\xE6\x96\x87");
    EXPECT_EQ(CutToColumns("\xE4\xB8\xAD\xE6\x96\x87", 3), "\xE4\xB8\xAD" + ellipsis);
    EXPECT_EQ(CutToColumns("\xE4\xB8\xAD\xE6\x96\x87", 2), ellipsis);
}

}  // namespace
}  // namespace tools
