// Matching names against expressions with wildcards.
//
//   IsNameInExpressionA("*.txt", "a.txt", false)            -> true
//   IsNameInExpressionA("*.txt", "a.txt.bak", false)        -> false
//   IsNameInExpressionA("<.txt", "archive.tar.txt", false)  -> true
//   IsNameInExpression(L"README.*", L"readme.md", true)     -> true
//
// An expression consists of
//
//   *   any run of characters, even an empty one
//   ?   one character
//   >   one character, but not the last dot of the name
//   <   any run of characters before the last dot of the name; if no dot is ahead, any
//       run of characters, but only an empty one at the very start of the name
//   "   a dot if the name has one here, and otherwise nothing
//
// and of characters that match themselves, such as the dot. A wildcard cannot be escaped.
// A wildcard in the name is a character like any other.
//
// Two results may surprise:
// - "?" and ">" step over the end of the name as if a character were there. After that,
//   only a "*" that ends the expression can match: "a?*" matches "a", but "a?" does not.
// - "<" alone matches the empty name but not "readme", although "a<" matches "ab".
//
// Every "*" and "<" that does not end the expression can multiply the time by the length
// of the name. "*a*a*b" has three of them: for a name of 4,000 times "a" it takes some
// ten thousand million steps, about a minute. Do not match untrusted expressions.

#ifndef COMMON_STRINGS_WILDCARD_H
#define COMMON_STRINGS_WILDCARD_H

// Returns true if the whole `name` matches `expression`. With `ignoreCase` ASCII letters
// match in either case. All other characters match only themselves, whatever the locale.
// Neither pointer is null. Allocates no memory, and recurses once for each "*" and "<".
// Any thread may call this.
bool IsNameInExpression(wchar_t const* expression, wchar_t const* name, bool ignoreCase);

// Matches byte by byte, as IsNameInExpression does for wide characters.
bool IsNameInExpressionA(char const* expression, char const* name, bool ignoreCase);

#endif
