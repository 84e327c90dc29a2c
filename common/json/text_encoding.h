// Conversions between UTF-8 and wide text of one code point per element.
//
//   s2ws("\xC3\xA9")        -> L"\u00E9"
//   ws2s(L"\U0001F600")     -> "\xF0\x9F\x98\x80"
//   wchar2utf8(L"a")        -> "a"
//
// A byte-order mark is converted like any other character. The results and the messages
// are the same with every standard library. Any thread may call these functions.

#ifndef COMMON_JSON_TEXT_ENCODING_H
#define COMMON_JSON_TEXT_ENCODING_H

#include <string>

// Decodes UTF-8; NULs are characters like any other. Throws std::range_error
// "wstring_convert: from_bytes error" if the text is malformed, overlong or cut short at
// its end, or if it has a surrogate or a code point above 0x10FFFF.
std::wstring s2ws(std::string const& text);

// Encodes as UTF-8; NULs are characters like any other. Throws std::range_error
// "wstring_convert: to_bytes error" if an element is a surrogate or above 0x10FFFF.
std::string ws2s(std::wstring const& text);

// Encodes the characters of `text` before its NUL, as ws2s does. `text` is not null.
std::string wchar2utf8(wchar_t const* text);

#endif
