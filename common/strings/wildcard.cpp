#include "common/strings/wildcard.h"

#include <cstddef>
#include <string>

namespace {

template <typename Char>
Char Upper(Char character) {
    return character >= 'a' && character <= 'z' ? Char(character - 'a' + 'A') : character;
}

template <typename Char>
class Matcher {
  public:
    Matcher(Char const* matched_expression, Char const* matched_name, bool ignoring_case)
        : expression(matched_expression),
          name(matched_name),
          length(std::char_traits<Char>::length(matched_name)),
          last_dot(FindLastDot()),
          ignores_case(ignoring_case) {}

    // Returns true if the expression from `i` on matches the name from `p` on.
    bool MatchesRest(std::size_t i, std::size_t p);

  private:
    // Returns the character at `p`, or NUL if `p` is after the end of the name, which "?"
    // and ">" step over.
    Char At(std::size_t p) { return p < length ? name[p] : Char(0); }

    // Returns the position of the last dot, or 0 if the name has no dot.
    std::size_t FindLastDot() const {
        for (std::size_t k = length; k > 0; --k) {
            if (name[k - 1] == '.') {
                return k - 1;
            }
        }
        return 0;
    }

    // Returns the position of the last dot at or after `p`, or 0 if no dot is there.
    std::size_t LastDot(std::size_t p) const { return last_dot >= p ? last_dot : 0; }

    // Returns true if the expression from `i` on matches the name from one of the
    // positions `p` to `end` - 1 on.
    bool MatchesFromAnyOf(std::size_t i, std::size_t p, std::size_t end) {
        for (std::size_t k = p; k < end; ++k) {
            if (MatchesRest(i, k)) {
                return true;
            }
        }
        return false;
    }

    bool Equal(Char a, Char b) { return ignores_case ? Upper(a) == Upper(b) : a == b; }

    Char const* const expression;
    Char const* const name;
    std::size_t const length;  // of the name
    std::size_t const last_dot;
    bool const ignores_case;
};

template <typename Char>
bool Matcher<Char>::MatchesRest(std::size_t i, std::size_t p) {
    for (;;) {
        Char const c = expression[i];
        if (c == 0) {
            return p == length;
        }
        ++i;
        switch (c) {
            case '"':
                p += At(p) == '.' ? 1 : 0;
                break;
            case '?':
                // Contract: "?" and ">" step over the end of the name as well.
                ++p;
                break;
            case '>':
                p += At(p) != '.' || LastDot(p) != p ? 1 : 0;
                break;
            case '*':
            case '<': {
                // Contract: a "*" that ends the expression matches after the name too.
                if (c == '*' && expression[i] == 0) {
                    return true;
                }
                // Contract: "<" matches nothing at the start of a name without a dot.
                //
                // If no dot is ahead, LastDot is 0. That ends the run at the start of the
                // name, and nowhere else.
                std::size_t const dot = c == '<' ? LastDot(p) : length;
                if (p >= length || p == dot) {
                    break;
                }
                std::size_t const end = dot == 0 ? length : dot;
                if (MatchesFromAnyOf(i, p, end)) {
                    return true;
                }
                p = end;  // tries the longest run without a call
                break;
            }
            default:
                if (!Equal(c, At(p))) {
                    return false;
                }
                ++p;
        }
    }
}

}  // namespace

bool IsNameInExpression(wchar_t const* expression, wchar_t const* name, bool ignoreCase) {
    return Matcher<wchar_t>(expression, name, ignoreCase).MatchesRest(0, 0);
}

bool IsNameInExpressionA(char const* expression, char const* name, bool ignoreCase) {
    return Matcher<char>(expression, name, ignoreCase).MatchesRest(0, 0);
}
