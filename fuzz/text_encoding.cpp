// Compares the conversions between UTF-8 and wide text with a strict decoder that was
// written apart from them. An input is taken once as UTF-8, and once as wide text of
// four bytes for each element, the lowest first.

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <vector>

#include "common/json/text_encoding.h"
#include "fuzz/fuzzing.h"
#include "harness/utf8_oracle.h"

namespace {

// Returns what `convert` returns; no value if it throws what it should.
template <typename Convert>
auto Result(Convert const& convert, char const* message)
    -> std::optional<decltype(convert())> {
    try {
        return convert();
    } catch (std::range_error const& error) {
        Require(std::strcmp(error.what(), message) == 0, "the message is the one");
        return std::nullopt;
    }
}

std::optional<std::wstring> Decoded(std::string const& text) {
    return Result([&] { return s2ws(text); }, "wstring_convert: from_bytes error");
}

std::optional<std::string> Encoded(std::wstring const& text) {
    return Result([&] { return ws2s(text); }, "wstring_convert: to_bytes error");
}

// Encodes a copy with nothing after the terminator, so that a sanitizer sees who
// reads on.
std::optional<std::string> EncodedUpToNul(std::wstring const& text) {
    std::vector<wchar_t> const copy(text.c_str(), text.c_str() + text.size() + 1);
    return Result([&] { return wchar2utf8(copy.data()); },
                  "wstring_convert: to_bytes error");
}

bool IsCodePoint(wchar_t element) {
    auto const value = std::char_traits<wchar_t>::to_int_type(element);
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

// A code point has one well-formed encoding, so what decodes to it must be that.
void CheckEncoding(std::wstring const& wide) {
    bool const is_valid = std::all_of(wide.begin(), wide.end(), IsCodePoint);
    std::optional<std::string> const text = Encoded(wide);
    Require(text.has_value() == is_valid, "ws2s refuses what is no code point");
    if (text) {
        Require(DecodeUtf8Strictly(*text) == wide, "ws2s encodes every element");
    }
    Require(EncodedUpToNul(wide) == Encoded(wide.c_str()),
            "wchar2utf8 encodes up to the first NUL");
}

void CheckDecoding(std::string const& text) {
    std::optional<std::wstring> const wide = Decoded(text);
    Require(wide == DecodeUtf8Strictly(text), "s2ws decodes as the strict decoder");
    if (wide) {
        Require(Encoded(*wide) == text, "ws2s gives back what s2ws decoded");
        CheckEncoding(*wide);
    }
}

std::wstring ReadElements(std::uint8_t const* data, std::size_t size) {
    std::wstring wide;
    for (std::size_t i = 0; i + 4 <= size; i += 4) {
        std::uint32_t const value = data[i] | data[i + 1] << 8U | data[i + 2] << 16U |
                                    static_cast<std::uint32_t>(data[i + 3]) << 24U;
        wide += static_cast<wchar_t>(value);
    }
    return wide;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    CheckDecoding(std::string(data, data + size));
    CheckEncoding(ReadElements(data, size));
    return 0;
}
