#include "common/strings/wildcard.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include "harness/wildcard_oracle.h"
#include "tests/support/locale_in_use.h"

namespace {

bool Call(char const* expression, char const* name, bool ignore_case) {
    return IsNameInExpressionA(expression, name, ignore_case);
}

bool Call(wchar_t const* expression, wchar_t const* name, bool ignore_case) {
    return IsNameInExpression(expression, name, ignore_case);
}

// Both functions, on ASCII text. The answers must agree.
bool Matches(std::string const& expression, std::string const& name,
             bool ignore_case = false) {
    bool const narrow = Call(expression.c_str(), name.c_str(), ignore_case);
    std::wstring const wide_expression(expression.begin(), expression.end());
    std::wstring const wide_name(name.begin(), name.end());
    EXPECT_EQ(Call(wide_expression.c_str(), wide_name.c_str(), ignore_case), narrow)
        << "'" << expression << "' on '" << name << "', wide and narrow";
    return narrow;
}

// Memory that ends where nothing may be read: a text is placed so that its terminator is
// the last thing before.
template <typename Char>
class GuardedText {
  public:
    GuardedText()
        : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          memory(static_cast<char*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (memory == MAP_FAILED || mprotect(memory + page, page, PROT_NONE) != 0) {
            throw std::runtime_error("no guarded memory");
        }
    }
    ~GuardedText() { munmap(memory, 2 * page); }
    GuardedText(GuardedText const&) = delete;
    GuardedText& operator=(GuardedText const&) = delete;

    Char const* Place(std::basic_string<Char> const& text) {
        std::size_t const bytes = (text.size() + 1) * sizeof(Char);
        void* const place = memory + page - bytes;
        std::memcpy(place, text.c_str(), bytes);
        return static_cast<Char const*>(place);
    }

  private:
    std::size_t const page;
    char* const memory;
};

// Every text of up to `longest` of the characters, the empty one included.
template <typename Char>
void ForEveryText(std::string const& characters, std::size_t longest,
                  std::function<void(std::basic_string<Char> const&)> const& visit) {
    std::basic_string<Char> text;
    std::function<void()> const extend = [&] {
        visit(text);
        for (std::size_t i = 0; text.size() < longest && i < characters.size(); ++i) {
            text.push_back(static_cast<Char>(characters[i]));
            extend();
            text.pop_back();
        }
    };
    extend();
}

std::string const kCharacters = "*?<>\".aA";

// Compares the matcher with the oracle on one name and every short expression. The oracle
// goes on from what it knows of the expression without its last character.
template <typename Char>
class ExpressionWalk {
  public:
    ExpressionWalk(std::basic_string<Char> const& matched_name, bool ignore_case)
        : name(matched_name),
          guarded_name(name_memory.Place(matched_name)),
          oracle(matched_name, ignore_case),
          ignoreCase(ignore_case) {}

    // Takes every expression of up to `longest` characters and returns their number.
    std::size_t Run(std::size_t longest) {
        Compare(oracle.IsMatch(oracle.Start(), false));
        return 1 + Extend(oracle.Start(), longest);
    }

  private:
    using Positions = typename WildcardOracle<Char>::Positions;

    std::size_t Extend(Positions reached, std::size_t longest) {
        std::size_t compared = 0;
        for (std::size_t i = 0; length < longest && i < kCharacters.size(); ++i) {
            auto const c = static_cast<Char>(kCharacters[i]);
            auto const next = oracle.After(reached, c);
            expression[length++] = c;
            Compare(c == '*' ? oracle.IsMatch(reached, true)
                             : oracle.IsMatch(next, false));
            compared += 1 + Extend(next, longest);
            expression[--length] = 0;
        }
        return compared;
    }

    void Compare(bool expected) {
        if (Call(expression, guarded_name, ignoreCase) != expected) {
            std::basic_string<Char> const text(expression);
            ADD_FAILURE() << "'" << std::string(text.begin(), text.end()) << "' on '"
                          << std::string(name.begin(), name.end()) << "' is not "
                          << expected << (ignoreCase ? ", ignoring case" : "");
        }
    }

    static inline GuardedText<Char> name_memory;
    std::basic_string<Char> const name;
    Char const* const guarded_name;
    WildcardOracle<Char> const oracle;
    bool const ignoreCase;
    Char expression[8] = {};
    std::size_t length = 0;
};

// How long the longest names are: LONGEST_NAME, or 4. Names of 5 are eight times as many.
std::size_t LongestName() {
    char const* const longest = std::getenv("LONGEST_NAME");
    return longest != nullptr ? std::strtoul(longest, nullptr, 10) : 4;
}

template <typename Char>
void CompareOnEveryShortPair(bool ignore_case) {
    std::size_t compared = 0;
    ForEveryText<Char>(kCharacters, LongestName(),
                       [&](std::basic_string<Char> const& name) {
                           if (!testing::Test::HasFailure()) {
                               compared += ExpressionWalk<Char>(name, ignore_case).Run(4);
                           }
                       });
    std::size_t const expressions = 1 + 8 + 64 + 512 + 4096;
    std::size_t const names = expressions + (LongestName() == 5 ? 32768 : 0);
    EXPECT_EQ(compared, expressions * names);
}

TEST(Wildcard, WideAgreesWithTheOracleOnEveryShortExpressionAndName) {
    CompareOnEveryShortPair<wchar_t>(false);
}

TEST(Wildcard, WideIgnoringCaseAgreesWithTheOracleOnEveryShortExpressionAndName) {
    CompareOnEveryShortPair<wchar_t>(true);
}

TEST(Wildcard, NarrowAgreesWithTheOracleOnEveryShortExpressionAndName) {
    CompareOnEveryShortPair<char>(false);
}

TEST(Wildcard, NarrowIgnoringCaseAgreesWithTheOracleOnEveryShortExpressionAndName) {
    CompareOnEveryShortPair<char>(true);
}

TEST(Wildcard, TheExamplesOfItsHeader) {
    EXPECT_TRUE(IsNameInExpressionA("*.txt", "a.txt", false));
    EXPECT_FALSE(IsNameInExpressionA("*.txt", "a.txt.bak", false));
    EXPECT_TRUE(IsNameInExpressionA("<.txt", "archive.tar.txt", false));
    EXPECT_TRUE(IsNameInExpression(L"README.*", L"readme.md", true));
}

struct Pair {
    char const* expression;
    char const* name;
};

void ExpectMatches(bool expected, std::initializer_list<Pair> pairs) {
    for (auto const& [expression, name] : pairs) {
        EXPECT_EQ(Matches(expression, name), expected) << expression << " on " << name;
    }
}

TEST(Wildcard, LoneStarMatchesEveryNameAndNoExpressionOnlyTheEmptyOne) {
    ExpectMatches(true, {{"*", ""}, {"*", "a.b"}, {"**", ""}, {"", ""}});
    ExpectMatches(false, {{"", "a"}, {"a", ""}});
}

TEST(Wildcard, StarTakesAnyRun) {
    ExpectMatches(true, {{"*.txt", "a.txt"},
                         {"*.txt", ".txt"},
                         {"*.txt", "a.txt.txt"},
                         {"a*b*c", "a-b-b-c"}});
    ExpectMatches(false, {{"*.txt", "a.txt.bak"}, {"a*b*c", "a-b-b-"}});
}

TEST(Wildcard, QuestionMarkTakesExactlyOneCharacter) {
    ExpectMatches(true, {{"?", "a"}, {"?", "."}, {"a?b", "axb"}});
    ExpectMatches(false, {{"?", ""}, {"?", "ab"}, {"a?b", "a"}});
}

TEST(Wildcard, AfterTheEndOnlyAStarThatEndsTheExpressionMatches) {
    ExpectMatches(
        true,
        {{"?*", ""}, {"a?*", "a"}, {"a?\?>*", "a"}, {"a?<\"*", "a"}, {"abc>*", "abc"}});
    ExpectMatches(
        false,
        {{"a?", "a"}, {"a?*b", "a"}, {"a?<", "a"}, {"a?\"", "a"}, {"abc>", "abc"}});
}

TEST(Wildcard, LessThanStopsBeforeTheLastDot) {
    ExpectMatches(true, {{"<.txt", "archive.tar.txt"},
                         {"<.txt", ".txt"},
                         {"<.tar.txt", "archive.tar.txt"}});
    ExpectMatches(false, {{"<", "a.b"}, {"<txt", "archive.txt"}});
}

TEST(Wildcard, LessThanWithoutADotAheadTakesNothingAtTheStartAndAnyRunElsewhere) {
    ExpectMatches(true, {{"<", ""},
                         {"<readme", "readme"},
                         {"a<", "a"},
                         {"a<", "ab"},
                         {"a<", "abc"},
                         {"a<c", "abc"},
                         {".<", ".b"}});
    ExpectMatches(false, {{"<", "readme"}});
}

TEST(Wildcard, GreaterThanDoesNotTakeTheLastDot) {
    ExpectMatches(true, {{"file>.txt", "file.txt"}, {"a>b.c", "a.b.c"}, {"a>c", "abc"}});
    ExpectMatches(false, {{"file>txt", "file.txt"}, {"abc>", "abc"}});
}

TEST(Wildcard, QuotationMarkTakesADotOrNothing) {
    ExpectMatches(
        true, {{"file\"", "file"}, {"file\"", "file."}, {"x\"y", "x.y"}, {"x\"y", "xy"}});
    ExpectMatches(false, {{"file\"", "file.."}, {"x\"y", "x-y"}});
}

TEST(Wildcard, IgnoringCaseIsAChoice) {
    EXPECT_TRUE(Matches("README.*", "readme.md", true));
    EXPECT_FALSE(Matches("README.*", "readme.md", false));
    EXPECT_TRUE(Matches("readme.*", "README.md", true));
}

TEST(Wildcard, CharactersMatchThemselvesAndOnlyAsciiLettersFold) {
    for (int a = 1; a < 256; ++a) {
        for (int b = 1; b < 256; ++b) {
            if (std::strchr("*?<>\"", a) != nullptr) {
                continue;
            }
            char const narrow_a[] = {static_cast<char>(a), 0};
            char const narrow_b[] = {static_cast<char>(b), 0};
            wchar_t const wide_a[] = {static_cast<wchar_t>(a), 0};
            wchar_t const wide_b[] = {static_cast<wchar_t>(b), 0};
            // In ASCII the two cases of a letter differ in this bit alone.
            bool const cases_of_a_letter =
                (a ^ b) == 0x20 && (a | 0x20) >= 'a' && (a | 0x20) <= 'z';
            ASSERT_EQ(Call(narrow_a, narrow_b, false), a == b) << a << ' ' << b;
            ASSERT_EQ(Call(wide_a, wide_b, false), a == b) << a << ' ' << b;
            ASSERT_EQ(Call(narrow_a, narrow_b, true), a == b || cases_of_a_letter)
                << a << ' ' << b;
            ASSERT_EQ(Call(wide_a, wide_b, true), a == b || cases_of_a_letter)
                << a << ' ' << b;
        }
    }
}

TEST(Wildcard, NothingBeyondAsciiFoldsWhateverTheLocale) {
    InEveryLocale([] {
        EXPECT_FALSE(IsNameInExpressionA("\xC3\xA9", "\xC3\x89", true));
        EXPECT_FALSE(IsNameInExpressionA("\xE9", "\xC9", true));
        EXPECT_FALSE(IsNameInExpression(L"\u00E9", L"\u00C9", true));
        EXPECT_FALSE(IsNameInExpression(L"\u0161", L"\u0160", true));
    });
}

TEST(Wildcard, WideCharactersAreComparedWhole) {
    EXPECT_FALSE(IsNameInExpression(L"\u0161", L"a", false));
    EXPECT_FALSE(IsNameInExpression(L"\u0161", L"A", true));
    EXPECT_FALSE(IsNameInExpression(L"\u012A", L"anything", false));
    EXPECT_FALSE(IsNameInExpression(L"a\"b", L"a\u012Eb", false));
    EXPECT_TRUE(IsNameInExpression(L"\U0001F600?", L"\U0001F600\U0001F601", false));
}

TEST(Wildcard, ALongNameNeedsNoDeepRecursion) {
    std::string const name = std::string(1000000, 'a') + ".txt";
    EXPECT_TRUE(Matches("*.txt", name));
    EXPECT_FALSE(Matches("*.bak", name));
    EXPECT_TRUE(Matches("<.txt", name));
    EXPECT_FALSE(Matches("<", name));
}

}  // namespace
