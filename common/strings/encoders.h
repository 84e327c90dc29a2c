// Encoders, identifiers, and a reader of octal numbers.
//
//   unsigned char const data[] = {'a', 'b', 'c', 'd'};
//   base64(data, 4)           -> "YWJjZD==" (see below)
//   URLEncode("a b/c", false) -> "a%20b/c"
//   URLEncode("a b/c", true)  -> "a%20b%2Fc"
//   NewUUID()                 -> "4a8f0c1e-58d3-4f0b-9d0e-6f3f5d0f7c11", say
//   octalToDecimal(777)       -> 511

#ifndef COMMON_STRINGS_ENCODERS_H
#define COMMON_STRINGS_ENCODERS_H

#include <string>

// Encodes `length` bytes with the alphabet and padding of RFC 4648, section 4, on one
// line. Returns null if `data` is null, if `length` is 0 or if memory runs out.
//
// Departs from the RFC where one byte is left over at the end: the character before the
// padding also carries two bits that the RFC leaves 0, so "a" gives "YT==" instead of
// "YQ==". Decoders that ignore those bits recover the bytes; strict ones refuse the text.
//
// The text belongs to base64. It stays valid until the next call, one that returns null
// included, and the caller never frees it. So this is not for several threads at once:
// they take turns and copy the text before the next one calls.
char* base64(unsigned char const* data, unsigned long length);

// Encodes each byte of `text`, which is not null, for a URL: letters, digits, "-", ".",
// "_" and "~" stay, and so does the slash unless `encode_slash`; all others become "%"
// and two upper-case hexadecimal digits. A blank is "%20", never "+". May be called from
// any thread.
std::string URLEncode(char const* text, bool encode_slash);

// Returns a new random UUID (version 4) of 36 characters, without braces. The hexadecimal
// letters are those of the system's uuid_unparse: lower case on Linux, upper case on
// macOS. May be called from any thread.
std::string NewUUID();

// Reads the decimal digits of `value` as those of an octal number: 10 gives 8. The digits
// 8 and 9 count what they are, so 19 gives 17. The sign stays: -17 gives -15. May be
// called from any thread.
int octalToDecimal(int value);

#endif
