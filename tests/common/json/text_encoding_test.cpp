#include "common/json/text_encoding.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "harness/utf8_oracle.h"
#include "tests/support/allocation_limit.h"
#include "tests/support/in_threads.h"

namespace {

using namespace std::string_literals;

wchar_t const kLastCodePoint = 0x10FFFF;

bool IsSurrogate(wchar_t element) {
    return element >= 0xD800 && element <= 0xDFFF;
}

// Returns the decoded text; std::nullopt if the decoder refuses it with the exception
// that it promises. Any other exception fails the test.
std::optional<std::wstring> Decode(std::string const& text) {
    try {
        return s2ws(text);
    } catch (std::range_error const& error) {
        EXPECT_STREQ(error.what(), "wstring_convert: from_bytes error");
        return std::nullopt;
    }
}

std::optional<std::string> Encode(std::wstring const& text) {
    try {
        return ws2s(text);
    } catch (std::range_error const& error) {
        EXPECT_STREQ(error.what(), "wstring_convert: to_bytes error");
        return std::nullopt;
    }
}

std::optional<std::string> EncodeUpToNul(wchar_t const* text) {
    try {
        return wchar2utf8(text);
    } catch (std::range_error const& error) {
        EXPECT_STREQ(error.what(), "wstring_convert: to_bytes error");
        return std::nullopt;
    }
}

std::string InHex(std::string const& text) {
    std::string hex;
    for (char const c : text) {
        char const* const digits = "0123456789ABCDEF";
        auto const byte = static_cast<unsigned char>(c);
        hex += {digits[byte / 16], digits[byte % 16], ' '};
    }
    return hex;
}

// Compares the decoder with the strict one, without the cost of an expectation for each
// of a great many texts.
void ExpectDecodedStrictly(std::string const& text) {
    if (Decode(text) != DecodeUtf8Strictly(text)) {
        ADD_FAILURE() << InHex(text) << "is decoded wrongly";
    }
}

// Encodes by arithmetic alone.
std::string EncodedByHand(unsigned long code_point) {
    auto const continuation = [code_point](unsigned shift) {
        return static_cast<char>(0x80 | ((code_point >> shift) & 0x3F));
    };
    if (code_point < 0x80) {
        return {static_cast<char>(code_point)};
    }
    if (code_point < 0x800) {
        return {static_cast<char>(0xC0 | (code_point >> 6)), continuation(0)};
    }
    if (code_point < 0x10000) {
        return {static_cast<char>(0xE0 | (code_point >> 12)), continuation(6),
                continuation(0)};
    }
    return {static_cast<char>(0xF0 | (code_point >> 18)), continuation(12),
            continuation(6), continuation(0)};
}

TEST(TextEncoding, TheExamplesOfItsHeader) {
    EXPECT_EQ(s2ws("\xC3\xA9"), L"\u00E9");
    EXPECT_EQ(ws2s(L"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(wchar2utf8(L"a"), "a");
}

TEST(TextEncoding, EmptyTextStaysEmpty) {
    EXPECT_EQ(s2ws(""), L"");
    EXPECT_EQ(ws2s(L""), "");
    EXPECT_EQ(wchar2utf8(L""), "");
}

TEST(TextEncoding, EveryCodePointIsOneElementAndComesBackAsTheSameBytes) {
    for (wchar_t code_point = 0; code_point <= kLastCodePoint; ++code_point) {
        if (IsSurrogate(code_point)) {
            continue;
        }
        std::string const bytes = EncodedByHand(static_cast<unsigned long>(code_point));
        std::wstring const wide(1, code_point);
        if (Encode(wide) != bytes || Decode(bytes) != wide) {
            ADD_FAILURE() << "code point " << static_cast<long>(code_point);
        }
    }
}

TEST(TextEncoding, EverySurrogateIsRefusedBothWays) {
    for (wchar_t surrogate = 0xD800; surrogate <= 0xDFFF; ++surrogate) {
        std::string const bytes = EncodedByHand(static_cast<unsigned long>(surrogate));
        std::wstring const wide(1, surrogate);
        if (Decode(bytes) || Encode(wide) || EncodeUpToNul(wide.c_str())) {
            ADD_FAILURE() << "surrogate " << static_cast<long>(surrogate);
        }
    }
    EXPECT_EQ(Decode("a\xED\xA0\x80z"), std::nullopt);
    EXPECT_EQ(Decode("\xED\xA0\xBD\xED\xB8\x80"), std::nullopt);
    EXPECT_EQ(Encode(L"a" + std::wstring(1, 0xDC00) + L"z"), std::nullopt);
    EXPECT_EQ(Encode({wchar_t{0xD83D}, wchar_t{0xDE00}}), std::nullopt);
}

TEST(TextEncoding, ElementsAboveTheLastCodePointAreRefused) {
    for (unsigned long const value :
         {0x110000UL, 0x110001UL, 0x1FFFFFUL, 0x200000UL, 0x7FFFFFFFUL, 0x80000000UL,
          0xFFFFD800UL, 0xFFFFFFFFUL}) {
        std::wstring const wide = {L'a', static_cast<wchar_t>(value), L'z'};
        EXPECT_EQ(Encode(wide), std::nullopt) << value;
        EXPECT_EQ(EncodeUpToNul(wide.c_str()), std::nullopt) << value;
    }
}

TEST(TextEncoding, ASequenceCutShortIsRefusedAtTheEndAndInTheMiddle) {
    for (std::string const whole :
         {"\xC3\xA9", "\xE2\x82\xAC", "\xED\x9F\xBF", "\xF0\x9F\x98\x80"}) {
        for (std::size_t length = 1; length < whole.size(); ++length) {
            std::string const cut = whole.substr(0, length);
            for (std::string const& before : {""s, "a"s, whole, whole + whole}) {
                for (std::string const& after : {""s, "a"s, "\0"s, whole}) {
                    std::string text = before;
                    text.append(cut).append(after);
                    EXPECT_EQ(Decode(text), std::nullopt) << InHex(text);
                }
            }
        }
    }
}

TEST(TextEncoding, ASequenceCutShortAfterALongTextIsRefused) {
    for (std::size_t const length : {15U, 16U, 31U, 255U, 256U, 4095U, 4096U, 100000U}) {
        std::string const text(length, 'a');
        EXPECT_EQ(Decode(text), std::wstring(length, L'a'));
        EXPECT_EQ(Decode(text + "\xC3"), std::nullopt) << length;
        EXPECT_EQ(Decode(text + "\xF0\x9F\x98"), std::nullopt) << length;
    }
}

TEST(TextEncoding, AByteOrderMarkIsTextLikeAnyOther) {
    EXPECT_EQ(s2ws("\xEF\xBB\xBFz"), L"\uFEFFz");
    EXPECT_EQ(s2ws("z\xEF\xBB\xBF"), L"z\uFEFF");
    EXPECT_EQ(ws2s(L"\uFEFFz"), "\xEF\xBB\xBFz");
    EXPECT_EQ(ws2s(L"z"), "z");
    EXPECT_EQ(s2ws("\xEF\xBF\xBE"), L"\uFFFE");
    EXPECT_EQ(Decode("\xFE\xFF"), std::nullopt);
}

TEST(TextEncoding, NulsAreConvertedButEndTheTextOfAPointer) {
    EXPECT_EQ(s2ws("a\0\xC3\xA9\0"s), L"a\0\u00E9\0"s);
    EXPECT_EQ(ws2s(L"a\0\u00E9\0"s), "a\0\xC3\xA9\0"s);
    EXPECT_EQ(s2ws("\0"s), L"\0"s);
    EXPECT_EQ(ws2s(L"\0"s), "\0"s);
    EXPECT_EQ(wchar2utf8(L"a\u00E9\0b"), "a\xC3\xA9");
    wchar_t const surrogate_after_the_nul[] = {L'a', L'\0', 0xD800, L'\0'};
    EXPECT_EQ(EncodeUpToNul(surrogate_after_the_nul), "a");
}

TEST(TextEncoding, TextsOfMixedLengthsComeBack) {
    std::wstring const wide = L"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFFz";
    EXPECT_EQ(ws2s(wide),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
              "\xF4\x8F\xBF\xBFz");
    EXPECT_EQ(s2ws(ws2s(wide)), wide);
    EXPECT_EQ(wchar2utf8(wide.c_str()), ws2s(wide));
}

TEST(TextEncoding, EveryTextOfOneOrTwoBytesIsDecodedStrictly) {
    for (int first = 0; first < 256; ++first) {
        ExpectDecodedStrictly({static_cast<char>(first)});
        for (int second = 0; second < 256; ++second) {
            ExpectDecodedStrictly({static_cast<char>(first), static_cast<char>(second)});
        }
    }
}

// The bytes at both sides of every border that the table of well-formed sequences has.
std::string const kBorderBytes =
    "\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF"
    "\xF0\xF1\xF3\xF4\xF5\xF7\xF8\xFF"s;

TEST(TextEncoding, EveryTextOfThreeOrFourBorderBytesIsDecodedStrictly) {
    for (char const a : kBorderBytes) {
        for (char const b : kBorderBytes) {
            for (char const c : kBorderBytes) {
                ExpectDecodedStrictly({a, b, c});
                for (char const d : kBorderBytes) {
                    ExpectDecodedStrictly({a, b, c, d});
                }
            }
        }
    }
}

// The texts are made beforehand and are short, so that the threads do little else.
TEST(TextEncoding, ThreadsConvertEachForItself) {
    std::string const texts[] = {"", "a", "\xC3\xA9z", "\xF0\x9F\x98\x80zz"};
    std::wstring const wide[] = {L"", L"a", L"\u00E9z", L"\U0001F600zz"};
    EXPECT_EQ(CountWrongInThreads(
                  300000, [&](std::size_t i) { return s2ws(texts[i]) == wide[i]; }),
              0);
    auto const is_encoded_right = [&](std::size_t i) {
        return ws2s(wide[i]) == texts[i] && wchar2utf8(wide[i].c_str()) == texts[i];
    };
    EXPECT_EQ(CountWrongInThreads(20000, is_encoded_right), 0);
}

TEST(TextEncoding, WithoutMemoryTheConversionsThrowBadAlloc) {
    std::string const text(65536, 't');
    std::wstring const wide(65536, L't');
    AllocationLimit const limit(65536);
    EXPECT_THROW(s2ws(text), std::bad_alloc);
    EXPECT_THROW(ws2s(wide), std::bad_alloc);
    EXPECT_THROW(wchar2utf8(wide.c_str()), std::bad_alloc);
}

}  // namespace
