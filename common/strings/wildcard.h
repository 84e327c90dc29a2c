// Matching names against expressions with wildcards.
//
//   IsNameInExpressionA("*.txt", "a.txt", false)            -> true
//   IsNameInExpressionA("*.txt", "a.txt.bak", false)        -> false
//   IsNameInExpressionA("<.txt", "archive.tar.txt", false)  -> true
//   IsNameInExpression(L"README.*", L"readme.md", true)     -> true
//
// An expression consists of
//
//   *   any run of characters, also none
//   ?   one character
//   >   one character, but not the last dot of the name
//   <   any run of characters up to the last dot of the name, without that dot; if no dot
//       is ahead any run of characters, but none at the very start of the name
//   "   a dot if the name has one here, else nothing
//
// and of characters that stand for themselves, the dot among them; there is no way to
// take a wildcard literally. A wildcard in the name is a character like any other.
//
// Two things surprise. "?" and ">" step over the end of the name as if a character
// stood there, and then only a "*" that ends the expression can still match: "a?*"
// matches "a", "a?" does not. "<" alone matches the empty name but not "readme", though
// "a<" matches "ab".
//
// Every "*" and "<" that does not end the expression can multiply the time by the length
// of the name. "*a*a*b" has three, and tries a name of 4,000 times "a" some ten thousand
// million times, which takes a minute. Do not take expressions from strangers.

#ifndef COMMON_STRINGS_WILDCARD_H
#define COMMON_STRINGS_WILDCARD_H

// Says whether the whole of `name` matches `expression`. With `ignoreCase` the ASCII
// letters match in either case; all other characters match only themselves, whatever the
// locale. Neither pointer is null. Allocates nothing; recurses once for each "*" and "<".
// May be called from any thread.
bool IsNameInExpression(wchar_t const* expression, wchar_t const* name, bool ignoreCase);

// Does the same byte by byte.
bool IsNameInExpressionA(char const* expression, char const* name, bool ignoreCase);

#endif
