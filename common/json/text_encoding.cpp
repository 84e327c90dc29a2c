#include "common/json/text_encoding.h"

#include <algorithm>
#include <codecvt>
#include <locale>
#include <stdexcept>

namespace {

using Utf8Converter = std::wstring_convert<std::codecvt_utf8<wchar_t, 0x10FFFF>>;

// Some standard libraries accept surrogates in both directions, and drop an unfinished
// sequence at the end of the input. The functions below refuse both.
bool IsSurrogate(wchar_t element) {
    return element >= 0xD800 && element <= 0xDFFF;
}

bool HasSurrogate(std::wstring const& text) {
    return std::any_of(text.begin(), text.end(), IsSurrogate);
}

// Contract: both messages are the same with every standard library.
[[noreturn]] void ThrowDecodingError() {
    throw std::range_error("wstring_convert: from_bytes error");
}

[[noreturn]] void ThrowEncodingError() {
    throw std::range_error("wstring_convert: to_bytes error");
}

}  // namespace

std::wstring s2ws(std::string const& text) {
    Utf8Converter converter;
    std::wstring wide;
    try {
        wide = converter.from_bytes(text.data(), text.data() + text.size());
    } catch (std::range_error const&) {
        ThrowDecodingError();
    }
    if (converter.converted() != text.size() || HasSurrogate(wide)) {
        ThrowDecodingError();
    }
    return wide;
}

std::string ws2s(std::wstring const& text) {
    if (HasSurrogate(text)) {
        ThrowEncodingError();
    }
    try {
        return Utf8Converter().to_bytes(text.data(), text.data() + text.size());
    } catch (std::range_error const&) {
        ThrowEncodingError();
    }
}

std::string wchar2utf8(wchar_t const* text) {
    return ws2s(text);
}
