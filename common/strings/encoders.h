// Base64, URL encoding, UUIDs, and octal digits.
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

// Encodes `length` bytes in Base64 on one line, with the alphabet and the padding of RFC
// 4648, section 4. Returns null if `data` is null, if `length` is 0, or if memory runs
// out.
//
// The text differs from the RFC if one byte is left over after the groups of three. The
// character before the padding then has two bits set that the RFC leaves 0: "a" gives
// "YT==" instead of "YQ==". Decoders that ignore these bits recover the bytes; strict
// decoders refuse the text.
//
// base64 owns the text. It is valid until the next call, even one that returns null, and
// the caller never frees it. So threads must take turns, and copy the text before the
// next thread calls.
char* base64(unsigned char const* data, unsigned long length);

// Encodes each byte of `text` for a URL. Letters, digits, "-", ".", "_" and "~" stay, and
// the slash stays unless `encode_slash` is true. All other bytes become "%" and two
// hexadecimal digits in upper case; a blank is "%20", never "+". `text` is not null. Any
// thread may call this.
std::string URLEncode(char const* text, bool encode_slash);

// Returns a new random UUID (version 4) of 36 characters, without braces. Its letters are
// those of the system's uuid_unparse: lower case on Linux, upper case on macOS. Any
// thread may call this.
std::string NewUUID();

// Reads the decimal digits of `value` as octal digits: 10 gives 8. The digits 8 and 9
// count as 8 and 9, so 19 gives 17. The sign stays: -17 gives -15. Any thread may call
// this.
int octalToDecimal(int value);

#endif
