// A second wildcard matcher, to compare the first one with.
//
//   WildcardOracle<char>("archive.tar.txt", false).Matches("<.txt")  -> true
//
// It works differently: it walks through the expression once, and keeps the set of the
// positions in the name that any way of matching can have reached. So its time is linear
// in the expression, however many stars that has.

#ifndef HARNESS_WILDCARD_ORACLE_H
#define HARNESS_WILDCARD_ORACLE_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

template <typename Char>
class WildcardOracle {
  public:
    using Text = std::basic_string<Char>;

    // A set of positions, one bit for each: from 0, the start of the name, to its length,
    // the end; and one more for all positions after the end.
    using Positions = std::uint64_t;

    static constexpr std::size_t kLongestName = 62;

    // For the matching of `matched_name`, of at most kLongestName characters. Throws
    // std::length_error if it has more.
    WildcardOracle(Text matched_name, bool ignore_case)
        : name(std::move(matched_name)),
          last_dot(name.rfind('.')),
          ignores_case(ignore_case) {
        if (name.size() > kLongestName) {
            throw std::length_error("WildcardOracle");
        }
    }

    bool Matches(Text const& expression) const {
        Positions reached = Start();
        bool const star_at_end = !expression.empty() && expression.back() == '*';
        for (std::size_t i = 0; i < expression.size() - (star_at_end ? 1 : 0); ++i) {
            reached = After(reached, expression[i]);
        }
        return IsMatch(reached, star_at_end);
    }

    // Where every match begins.
    Positions Start() const { return At(0); }

    // What is reached from `reached` by the next character of the expression, which is
    // not a star at its end.
    Positions After(Positions reached, Char c) const {
        Positions next = 0;
        for (std::size_t p = 0; p <= name.size(); ++p) {
            if ((reached & At(p)) != 0) {
                next |= AfterOne(p, c);
            }
        }
        bool const is_wildcard = c == '*' || c == '<' || c == '"' || c == '?' || c == '>';
        return next | (is_wildcard ? reached & AfterEnd() : 0);
    }

    // Returns true if the name matches an expression that has led to `reached`, of which
    // only a star, or nothing, is still to come.
    bool IsMatch(Positions reached, bool star_to_come) const {
        return star_to_come ? reached != 0 : (reached & At(name.size())) != 0;
    }

  private:
    static Positions At(std::size_t p) { return Positions(1) << p; }
    Positions AfterEnd() const { return At(name.size() + 1); }
    static Positions FromTo(std::size_t first, std::size_t last) {
        Positions const up_to_last = (At(last) - 1) | At(last);
        return up_to_last & ~(At(first) - 1);
    }

    // What one character of the expression makes of the position `p`.
    Positions AfterOne(std::size_t p, Char c) const {
        bool const at_dot = p < name.size() && name[p] == '.';
        bool const dot_ahead = last_dot != Text::npos && last_dot >= p;
        switch (c) {
            case '*':
                return FromTo(p, name.size());
            case '<':
                if (dot_ahead) {
                    return FromTo(p, last_dot);
                }
                return p == 0 ? At(p) : FromTo(p, name.size());
            case '"':
                return At(at_dot ? p + 1 : p);
            case '>':
                return At(at_dot && p == last_dot ? p : p + 1);
            case '?':
                return At(p + 1);
            default:
                return p < name.size() && Same(name[p], c) ? At(p + 1) : 0;
        }
    }

    bool Same(Char a, Char b) const {
        static char const lower[] = "abcdefghijklmnopqrstuvwxyz";
        static char const upper[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        for (std::size_t i = 0; ignores_case && i < 26; ++i) {
            if ((a == lower[i] && b == upper[i]) || (a == upper[i] && b == lower[i])) {
                return true;
            }
        }
        return a == b;
    }

    Text const name;
    std::size_t const last_dot;  // or npos
    bool const ignores_case;
};

#endif
