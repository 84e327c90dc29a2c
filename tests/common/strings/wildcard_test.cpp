#include "common/strings/wildcard.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

#include "harness/wildcard_oracle.h"
#include "tests/support/locale_in_use.h"
#include "tests/support/sanitizers.h"

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

// With a sanitizer a comparison takes ten times as long, and long names show no more.
constexpr std::size_t kLongestName = UNDER_ASAN || UNDER_TSAN ? 4 : 5;

template <typename Char>
void CompareOnEveryShortPair(bool ignore_case) {
    std::size_t compared = 0;
    ForEveryText<Char>(kCharacters, kLongestName,
                       [&](std::basic_string<Char> const& name) {
                           if (!testing::Test::HasFailure()) {
                               compared += ExpressionWalk<Char>(name, ignore_case).Run(4);
                           }
                       });
    std::size_t const expressions = 1 + 8 + 64 + 512 + 4096;
    std::size_t const names = expressions + (kLongestName == 5 ? 32768 : 0);
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

// Longer expressions, and names that are half of them made to match.
template <typename Char>
class RandomPairs {
  public:
    explicit RandomPairs(unsigned int seed) : random(seed) {}

    // Few enough runs that backtracking stays quick.
    std::basic_string<Char> Expression() {
        std::basic_string<Char> text;
        int runs = 0;
        for (std::size_t left = 1 + Below(14); left > 0; --left) {
            Char const c =
                Below(2) == 0 ? Character() : static_cast<Char>("*<?>\""[Below(5)]);
            runs += c == '*' || c == '<' ? 1 : 0;
            text += runs > 4 && (c == '*' || c == '<') ? Char('?') : c;
        }
        return text;
    }

    std::basic_string<Char> Name() { return Characters(20); }

    std::basic_string<Char> NameFor(std::basic_string<Char> const& expression) {
        std::basic_string<Char> name;
        for (Char const c : expression) {
            switch (c) {
                case '*':
                case '<':
                    name += Characters(4);
                    break;
                case '?':
                case '>':
                    name += Character();
                    break;
                case '"':
                    name += std::basic_string<Char>(Below(2), '.');
                    break;
                default:
                    name += c;
            }
        }
        return name.substr(0, WildcardOracle<Char>::kLongestName);
    }

  private:
    std::size_t Below(std::size_t bound) { return random() % bound; }

    std::basic_string<Char> Characters(std::size_t most) {
        std::basic_string<Char> text;
        for (std::size_t left = Below(most + 1); left > 0; --left) {
            text += Character();
        }
        return text;
    }

    // Dots and letters, and the neighbours of the letters and of what ASCII holds.
    Char Character() {
        static int const characters[] = {'.', '.', '.',  '.',  'a',  'A',  'b',
                                         'z', 'Z', '@',  '[',  '`',  '{',  '*',
                                         '?', 1,   0x7F, 0x80, 0xC3, 0xE9, 0xFF};
        return static_cast<Char>(characters[Below(std::size(characters))]);
    }

    std::mt19937 random;
};

template <typename Char>
void CompareOnRandomPairs(unsigned int seed) {
    RandomPairs<Char> pairs(seed);
    GuardedText<Char> guarded_expression;
    GuardedText<Char> guarded_name;
    int matches = 0;
    for (int i = 0; i < 500000 && !testing::Test::HasFailure(); ++i) {
        auto const expression = pairs.Expression();
        auto const name = i % 2 == 0 ? pairs.Name() : pairs.NameFor(expression);
        bool const ignore_case = i % 4 < 2;
        bool const expected = WildcardOracle<Char>(name, ignore_case).Matches(expression);
        EXPECT_EQ(Call(guarded_expression.Place(expression), guarded_name.Place(name),
                       ignore_case),
                  expected)
            << testing::PrintToString(expression) << " on "
            << testing::PrintToString(name) << (ignore_case ? ", ignoring case" : "");
        matches += expected ? 1 : 0;
    }
    EXPECT_GT(matches, 50000);
    EXPECT_LT(matches, 450000);
}

TEST(Wildcard, WideAgreesWithTheOracleOnLongerRandomPairs) {
    CompareOnRandomPairs<wchar_t>(20240607);
}

TEST(Wildcard, NarrowAgreesWithTheOracleOnLongerRandomPairs) {
    CompareOnRandomPairs<char>(7062024);
}

TEST(Wildcard, TheExamplesOfItsHeader) {
    EXPECT_TRUE(IsNameInExpressionA("*.txt", "a.txt", false));
    EXPECT_FALSE(IsNameInExpressionA("*.txt", "a.txt.bak", false));
    EXPECT_TRUE(IsNameInExpressionA("<.txt", "archive.tar.txt", false));
    EXPECT_TRUE(IsNameInExpression(L"README.*", L"readme.md", true));
}

TEST(Wildcard, LoneStarMatchesEveryNameAndNoExpressionOnlyTheEmptyOne) {
    EXPECT_TRUE(Matches("*", ""));
    EXPECT_TRUE(Matches("*", "a.b"));
    EXPECT_TRUE(Matches("**", ""));
    EXPECT_TRUE(Matches("", ""));
    EXPECT_FALSE(Matches("", "a"));
    EXPECT_FALSE(Matches("a", ""));
}

TEST(Wildcard, StarTakesAnyRun) {
    EXPECT_TRUE(Matches("*.txt", "a.txt"));
    EXPECT_TRUE(Matches("*.txt", ".txt"));
    EXPECT_FALSE(Matches("*.txt", "a.txt.bak"));
    EXPECT_TRUE(Matches("*.txt", "a.txt.txt"));
    EXPECT_TRUE(Matches("a*b*c", "a-b-b-c"));
    EXPECT_FALSE(Matches("a*b*c", "a-b-b-"));
}

TEST(Wildcard, QuestionMarkTakesExactlyOneCharacter) {
    EXPECT_TRUE(Matches("?", "a"));
    EXPECT_TRUE(Matches("?", "."));
    EXPECT_FALSE(Matches("?", ""));
    EXPECT_FALSE(Matches("?", "ab"));
    EXPECT_TRUE(Matches("a?b", "axb"));
    EXPECT_FALSE(Matches("a?b", "a"));
}

TEST(Wildcard, AfterTheEndOnlyAStarThatEndsTheExpressionMatches) {
    EXPECT_TRUE(Matches("?*", ""));
    EXPECT_TRUE(Matches("a?*", "a"));
    EXPECT_TRUE(Matches("a?\?>*", "a"));
    EXPECT_TRUE(Matches("a?<\"*", "a"));
    EXPECT_FALSE(Matches("a?", "a"));
    EXPECT_FALSE(Matches("a?*b", "a"));
    EXPECT_FALSE(Matches("a?<", "a"));
    EXPECT_FALSE(Matches("a?\"", "a"));
    EXPECT_FALSE(Matches("abc>", "abc"));
    EXPECT_TRUE(Matches("abc>*", "abc"));
}

TEST(Wildcard, LessThanStopsBeforeTheLastDot) {
    EXPECT_TRUE(Matches("<.txt", "archive.tar.txt"));
    EXPECT_TRUE(Matches("<.txt", ".txt"));
    EXPECT_TRUE(Matches("<.tar.txt", "archive.tar.txt"));
    EXPECT_FALSE(Matches("<", "a.b"));
    EXPECT_FALSE(Matches("<txt", "archive.txt"));
}

TEST(Wildcard, LessThanWithoutADotAheadTakesNothingAtTheStartAndAnyRunElsewhere) {
    EXPECT_FALSE(Matches("<", "readme"));
    EXPECT_TRUE(Matches("<", ""));
    EXPECT_TRUE(Matches("<readme", "readme"));
    EXPECT_TRUE(Matches("a<", "a"));
    EXPECT_TRUE(Matches("a<", "ab"));
    EXPECT_TRUE(Matches("a<", "abc"));
    EXPECT_TRUE(Matches("a<c", "abc"));
    EXPECT_TRUE(Matches(".<", ".b"));
}

TEST(Wildcard, GreaterThanDoesNotTakeTheLastDot) {
    EXPECT_FALSE(Matches("file>txt", "file.txt"));
    EXPECT_TRUE(Matches("file>.txt", "file.txt"));
    EXPECT_TRUE(Matches("a>b.c", "a.b.c"));
    EXPECT_TRUE(Matches("a>c", "abc"));
    EXPECT_FALSE(Matches("abc>", "abc"));
}

TEST(Wildcard, QuotationMarkTakesADotOrNothing) {
    EXPECT_TRUE(Matches("file\"", "file"));
    EXPECT_TRUE(Matches("file\"", "file."));
    EXPECT_FALSE(Matches("file\"", "file.."));
    EXPECT_TRUE(Matches("x\"y", "x.y"));
    EXPECT_TRUE(Matches("x\"y", "xy"));
    EXPECT_FALSE(Matches("x\"y", "x-y"));
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
