#include "common/strings/encoders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <unordered_set>
#include <vector>

#include "tests/support/locale_in_use.h"
#include "tests/support/sanitizers.h"

#if UNDER_ASAN
#include <sanitizer/asan_interface.h>
#endif

// Have the sanitizers answer a request for too much memory as malloc does.
extern "C" char const* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" char const* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

using Bytes = std::vector<unsigned char>;

// Nothing to see for base64's caller but the text, or null.
std::string Base64(Bytes const& bytes) {
    char const* const text = base64(bytes.data(), bytes.size());
    return text == nullptr ? "null" : text;
}

// The expectation: cuts the data, as one row of bits, into groups of six. The row goes on
// with two bytes '=', and the characters that hold no bit of the data are '='.
std::string ExpectedBase64(Bytes const& bytes) {
    std::string const alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string row;
    for (unsigned char const byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            row += (byte >> bit & 1) != 0 ? '1' : '0';
        }
    }
    std::size_t const data_bits = row.size();
    row += "0011110100111101";
    std::string text;
    for (std::size_t at = 0; at < data_bits; at += 6) {
        text += alphabet[std::stoul(row.substr(at, 6), nullptr, 2)];
    }
    while (text.size() % 4 != 0) {
        text += '=';
    }
    return text;
}

Bytes SomeBytes(std::size_t length) {
    Bytes bytes;
    std::uint32_t state = 12345;
    while (bytes.size() < length) {
        state = state * 1664525 + 1013904223;
        bytes.push_back(static_cast<unsigned char>(state >> 24));
    }
    return bytes;
}

// Returns whether a block of several pages has been freed.
bool IsFreed(char const* block) {
#if UNDER_ASAN
    return __asan_address_is_poisoned(block) != 0;
#else
    auto const page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    auto const address = (reinterpret_cast<std::uintptr_t>(block) / page + 1) * page;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a page is named by its address.
    return msync(reinterpret_cast<void*>(address), page, MS_ASYNC) != 0 &&
           errno == ENOMEM;
#endif
}

TEST(Encoders, TheExamplesOfItsHeader) {
    unsigned char const data[] = {'a', 'b', 'c', 'd'};
    EXPECT_STREQ(base64(data, 4), "YWJjZD==");
    EXPECT_EQ(URLEncode("a b/c", false), "a%20b/c");
    EXPECT_EQ(URLEncode("a b/c", true), "a%20b%2Fc");
    EXPECT_EQ(NewUUID().size(), 36);
    EXPECT_EQ(octalToDecimal(777), 511);
}

TEST(Base64, OneByteLeftOverDepartsFromTheCanonicalText) {
    EXPECT_EQ(Base64({0x61}), "YT==");
    EXPECT_EQ(Base64({0x00}), "AD==");
    EXPECT_EQ(Base64({0xFF}), "/z==");
    EXPECT_EQ(Base64({0x61, 0x62}), "YWI=");
    EXPECT_EQ(Base64({0x61, 0x62, 0x63}), "YWJj");
}

TEST(Base64, EveryByteAtEveryPlaceOfAGroup) {
    for (int byte = 0; byte < 256; ++byte) {
        auto const b = static_cast<unsigned char>(byte);
        for (Bytes const& bytes :
             {Bytes{b}, Bytes{b, 0}, Bytes{0x5A, b}, Bytes{b, 0, 0}, Bytes{0, b, 0xFF},
              Bytes{0xA5, 0, b}, Bytes{1, 2, 3, b}, Bytes{1, 2, 3, 4, b}}) {
            EXPECT_EQ(Base64(bytes), ExpectedBase64(bytes)) << byte;
        }
    }
}

TEST(Base64, EveryLengthUpToAThousandWithoutLineBreaks) {
    for (std::size_t length = 1; length <= 1000; ++length) {
        Bytes const bytes = SomeBytes(length);
        EXPECT_EQ(Base64(bytes), ExpectedBase64(bytes)) << length;
    }
}

TEST(Base64, ReadsNothingAfterTheData) {
    for (std::size_t length = 1; length <= 6; ++length) {
        Bytes bytes = SomeBytes(length + 3);
        std::string const text = base64(bytes.data(), length);
        bytes.resize(length);
        EXPECT_EQ(text, ExpectedBase64(bytes));
    }
}

TEST(Base64, NoDataIsNull) {
    unsigned char const byte = 'a';
    EXPECT_EQ(base64(nullptr, 0), nullptr);
    EXPECT_EQ(base64(nullptr, 1), nullptr);
    EXPECT_EQ(base64(&byte, 0), nullptr);
    EXPECT_STREQ(base64(&byte, 1), "YT==");
}

TEST(Base64, MoreThanThereIsMemoryForIsNull) {
    unsigned char const byte = 'a';
    EXPECT_EQ(base64(&byte, ULONG_MAX), nullptr);
    EXPECT_EQ(base64(&byte, ULONG_MAX / 4 * 3), nullptr);
    for (unsigned long length = LONG_MAX - 3; length < LONG_MAX + 3UL; ++length) {
        EXPECT_EQ(base64(&byte, length), nullptr);
    }
}

TEST(Base64, EveryCallEndsTheLifeOfTheTextBefore) {
    Bytes const large(50000000, 'x');
    unsigned char const byte = 'a';
    char const* text = base64(large.data(), large.size());
    ASSERT_FALSE(IsFreed(text));
    EXPECT_STREQ(base64(&byte, 1), "YT==");
    EXPECT_TRUE(IsFreed(text)) << "after a call that succeeds";

    text = base64(large.data(), large.size());
    ASSERT_FALSE(IsFreed(text));
    EXPECT_EQ(base64(nullptr, 1), nullptr);
    EXPECT_TRUE(IsFreed(text)) << "after a null pointer";

    text = base64(large.data(), large.size());
    EXPECT_EQ(base64(&byte, 0), nullptr);
    EXPECT_TRUE(IsFreed(text)) << "after a length of 0";

    text = base64(large.data(), large.size());
    EXPECT_EQ(base64(&byte, LONG_MAX), nullptr);
    EXPECT_TRUE(IsFreed(text)) << "after a lack of memory";
    EXPECT_EQ(base64(nullptr, 0), nullptr);
}

// The text before is of another thread, and its life ends all the same.
TEST(Base64, ACallInOneThreadEndsTheLifeOfAnothersText) {
    Bytes const large(50000000, 'x');
    char const* const text = base64(large.data(), large.size());
    ASSERT_FALSE(IsFreed(text));
    std::thread([] { base64(nullptr, 0); }).join();
    EXPECT_TRUE(IsFreed(text));
}

TEST(UrlEncode, EveryByteWithBothFlagsWhateverTheLocale) {
    std::string const kept =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-._~";
    InEveryLocale([&kept] {
        for (int byte = 1; byte < 256; ++byte) {
            std::string const text(1, static_cast<char>(byte));
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(byte));
            bool const is_kept = kept.find(text) != std::string::npos;
            EXPECT_EQ(URLEncode(text.c_str(), true), is_kept ? text : escaped) << byte;
            EXPECT_EQ(URLEncode(text.c_str(), false),
                      is_kept || byte == '/' ? text : escaped)
                << byte;
        }
    });
}

TEST(UrlEncode, TextsOfSeveralBytes) {
    EXPECT_EQ(URLEncode("\xC3\xA9", false), "%C3%A9");
    EXPECT_EQ(URLEncode("", false), "");
    EXPECT_EQ(URLEncode("", true), "");
    EXPECT_EQ(URLEncode("100% +\n\x01", false), "100%25%20%2B%0A%01");
}

TEST(UrlEncode, TextMayHaveAnyLength) {
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        expected += "%FF";
    }
    EXPECT_EQ(URLEncode(std::string(100000, '\xFF').c_str(), false), expected);
}

TEST(NewUuid, IsARandomUuidOfVersionFour) {
    testing::Matcher<std::string> const has_form = testing::MatchesRegex(
        "[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-4[0-9A-Fa-f]{3}-[89ABab][0-9A-Fa-f]{3}-"
        "[0-9A-Fa-f]{12}");
    for (int i = 0; i < 1000; ++i) {
        EXPECT_THAT(NewUUID(), has_form);
    }
}

TEST(NewUuid, ItsLettersAreInTheCaseInWhichTheSystemWritesThem) {
    for (int i = 0; i < 1000; ++i) {
        std::string const uuid = NewUUID();
        uuid_t bytes;
        ASSERT_EQ(uuid_parse(uuid.c_str(), bytes), 0) << uuid;
        char as_written[37];
        uuid_unparse(bytes, as_written);
        EXPECT_EQ(uuid, as_written);
    }
}

TEST(NewUuid, AHundredThousandOfThemDiffer) {
    std::unordered_set<std::string> seen;
    for (int i = 0; i < 100000; ++i) {
        seen.insert(NewUUID());
    }
    EXPECT_EQ(seen.size(), 100000);
}

TEST(OctalToDecimal, EightAndNineCountTheirFaceValue) {
    EXPECT_EQ(octalToDecimal(8), 8);
    EXPECT_EQ(octalToDecimal(9), 9);
    EXPECT_EQ(octalToDecimal(19), 17);
    EXPECT_EQ(octalToDecimal(99), 81);
    EXPECT_EQ(octalToDecimal(-8), -8);
}

// The expectation: what the C library reads in octal.
TEST(OctalToDecimal, AgreesWithAnOctalReaderOnOctalDigits) {
    for (int value = 0; value < 8 * 8 * 8 * 8 * 8 * 8; ++value) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%o", static_cast<unsigned>(value));
        ASSERT_EQ(octalToDecimal(std::stoi(digits)), value);
        ASSERT_EQ(octalToDecimal(-std::stoi(digits)), -value);
    }
}

TEST(OctalToDecimal, TheLargestValuesHaveAResult) {
    // 2*8^9 + 1*8^8 + 4*8^7 + 7*8^6 + 4*8^5 + 8*8^4 + 3*8^3 + 6*8^2 + 4*8 + 7
    EXPECT_EQ(octalToDecimal(INT_MAX), 295602087);
    EXPECT_EQ(octalToDecimal(INT_MIN), -295602088);
}

}  // namespace
