// What the string functions do under limits of memory and of CPU time. Some calls never
// end; the limit that stops them shows that.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <string>

#include "common/strings/encoders.h"
#include "common/strings/format.h"
#include "common/strings/split.h"
#include "common/strings/text.h"
#include "tests/support/allocation_limit.h"
#include "tests/support/sanitizers.h"

namespace {

std::size_t const kLimit = 65536;

// Sets a limit of this process, a child of the test program, without a core dump.
void Limit(decltype(RLIMIT_CPU) resource, rlim_t value) {
    rlimit const limit = {value, value + 1};
    rlimit const no_core = {0, 0};
    if (setrlimit(resource, &limit) != 0 || setrlimit(RLIMIT_CORE, &no_core) != 0) {
        _exit(99);
    }
}

// Replaces until memory runs out, and returns the text as it is then.
template <typename Text>
Text ReplacedUntilMemoryRunsOut(Text text, Text const& searched,
                                Text const& replacement) {
    {
        AllocationLimit const limit(kLimit);
        EXPECT_THROW(replace_all(text, searched, replacement), std::bad_alloc);
    }
    EXPECT_GT(text.size() * sizeof(text[0]), kLimit / 4);
    return text;
}

TEST(ReplaceAll, AReplacementThatMakesTheSearchedTextAgainNeverEnds) {
    auto const text = ReplacedUntilMemoryRunsOut<std::string>("ab", "b", "bb");
    EXPECT_EQ(text, 'a' + std::string(text.size() - 1, 'b'));
    auto const wide = ReplacedUntilMemoryRunsOut<std::wstring>(L"ab", L"b", L"bb");
    EXPECT_EQ(wide, L'a' + std::wstring(wide.size() - 1, L'b'));
}

TEST(ReplaceAll, AnEmptySearchedTextIsReplacedAtTheStartForEver) {
    auto const text = ReplacedUntilMemoryRunsOut<std::string>("any", "", "xy");
    ASSERT_EQ(text.size() % 2, 1);
    std::string expected;
    while (expected.size() + 3 < text.size()) {
        expected += "xy";
    }
    EXPECT_EQ(text, expected + "any");
    auto const wide = ReplacedUntilMemoryRunsOut<std::wstring>(L"any", L"", L"x");
    EXPECT_EQ(wide, std::wstring(wide.size() - 3, L'x') + L"any");
    EXPECT_GT(ReplacedUntilMemoryRunsOut<std::string>("", "", "any").size(), 0);
}

TEST(ReplaceAll, AnEmptySearchedTextNeverEndsWhereNothingGrowsEither) {
    auto const replace = [](auto text) {
        Limit(RLIMIT_CPU, 1);
        replace_all(text, decltype(text)(), decltype(text)());
    };
    EXPECT_EXIT(replace(std::string("any")), testing::KilledBySignal(SIGXCPU), "");
    EXPECT_EXIT(replace(std::wstring(L"any")), testing::KilledBySignal(SIGXCPU), "");
}

TEST(Tokenize, AnEmptyDelimiterCutsOffEmptyPiecesUntilMemoryRunsOut) {
    AllocationLimit const limit(kLimit);
    std::size_t pieces = 0;
    bool all_empty = true;
    EXPECT_THROW(tokenize("abc", "",
                          [&](std::string& piece) {
                              ++pieces;
                              all_empty = all_empty && piece.empty();
                              return piece;
                          }),
                 std::bad_alloc);
    EXPECT_GT(pieces, kLimit / sizeof(std::string) / 4);
    EXPECT_TRUE(all_empty);
    EXPECT_THROW(tokenize(L"abc", L"", [](std::wstring& piece) { return piece; }),
                 std::bad_alloc);
}

TEST(Format, LackOfMemoryIsThrown) {
    AllocationLimit const limit(kLimit);
    EXPECT_THROW(string_format("%100000d", 1), std::bad_alloc);
    EXPECT_THROW(wstring_format(L"%100000d", 1), std::bad_alloc);
}

#if !UNDER_ASAN && !UNDER_TSAN
TEST(Format, LackOfMemoryWhileWideTextIsWrittenIsThrownAndNotAnEmptyText) {
    auto const format = [] {
        Limit(RLIMIT_AS, 256UL << 20);
        try {
            wstring_format(L"%100000000d", 1);
        } catch (std::bad_alloc const&) {
            _exit(3);
        }
        _exit(4);
    };
    EXPECT_EXIT(format(), testing::ExitedWithCode(3), "");
}
#endif

TEST(UrlEncode, LackOfMemoryIsThrown) {
    std::string const text(kLimit, ' ');
    AllocationLimit const limit(kLimit);
    EXPECT_THROW(URLEncode(text.c_str(), false), std::bad_alloc);
}

}  // namespace
