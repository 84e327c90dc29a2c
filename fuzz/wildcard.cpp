// Compares the wildcard matcher with the second one of the tests. An input is a line with
// the expression, and then the name.

#include <vector>

#include "common/strings/wildcard.h"
#include "fuzz/fuzzing.h"
#include "harness/wildcard_oracle.h"

namespace {

// Left out: longer expressions, longer names, and expressions with more of the wildcards
// that double the work, which the matcher's header warns of. They only take time.
std::size_t const kLongestExpression = 64;
std::size_t const kMostRuns = 4;

bool IsMatched(char const* expression, char const* name, bool ignore_case) {
    return IsNameInExpressionA(expression, name, ignore_case);
}

bool IsMatched(wchar_t const* expression, wchar_t const* name, bool ignore_case) {
    return IsNameInExpression(expression, name, ignore_case);
}

// A copy with nothing after the terminator, so that a sanitizer sees a read past its end.
template <typename Text>
std::vector<typename Text::value_type> ExactCopy(Text const& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};
}

template <typename Char>
void Compare(std::basic_string<Char> const& expression,
             std::basic_string<Char> const& name) {
    auto const expression_copy = ExactCopy(expression);
    auto const name_copy = ExactCopy(name);
    for (bool const ignore_case : {false, true}) {
        Require(IsMatched(expression_copy.data(), name_copy.data(), ignore_case) ==
                    WildcardOracle<Char>(name, ignore_case).Matches(expression),
                "both matchers give the same answer");
    }
}

bool IsTooMuch(std::string const& expression, std::string const& name) {
    std::size_t runs = 0;
    for (char const c : expression) {
        runs += c == '*' || c == '<' ? 1 : 0;
    }
    return runs > kMostRuns || expression.size() > kLongestExpression ||
           name.size() > WildcardOracle<char>::kLongestName;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string input(data, data + size);
    std::string const expression = TakeLine(input).c_str();
    std::string const name = input.c_str();
    if (!IsTooMuch(expression, name)) {
        Compare(expression, name);
        Compare(Widen(expression), Widen(name));
    }
    return 0;
}
