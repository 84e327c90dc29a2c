#include "tools/shared/printable.h"

#include <algorithm>

namespace {

// A character at the start of a text, and how many bytes it takes; 0 if it is not UTF-8.
struct Decoded {
    char32_t character;
    std::size_t length;
};

Decoded Decode(char const* text, std::size_t size) {
    // The least character that may take as many bytes, by the number of bytes.
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    auto const lead = static_cast<unsigned char>(*text);
    if (lead < 0x80U) {
        return {lead, 1};
    }
    std::size_t const length = lead >= 0xF8U   ? 0
                               : lead >= 0xF0U ? 4
                               : lead >= 0xE0U ? 3
                               : lead >= 0xC0U ? 2
                                               : 0;
    if (length == 0 || length > size) {
        return {0, 0};
    }
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[i])) {
            return {0, 0};
        }
        character = character << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    bool const is_surrogate = character >= 0xD800 && character <= 0xDFFF;
    bool const is_valid =
        character >= kLeast[length] && character <= 0x10FFFF && !is_surrogate;
    return {character, is_valid ? length : 0};
}

// Says whether a terminal might do anything else with the character than show it.
bool IsHarmful(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

void AppendEscaped(std::string& result, char byte) {
    char const* const digits = "0123456789ABCDEF";
    auto const value = static_cast<unsigned char>(byte);
    result += "\\x";
    result += digits[value / 16];
    result += digits[value % 16];
}

}  // namespace

std::string Printable(std::string const& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        Decoded const decoded = Decode(text.data() + i, text.size() - i);
        std::size_t const length = std::max<std::size_t>(decoded.length, 1);
        if (decoded.length > 0 && !IsHarmful(decoded.character)) {
            result.append(text, i, length);
        } else {
            for (std::size_t j = 0; j < length; ++j) {
                AppendEscaped(result, text[i + j]);
            }
        }
        i += length;
    }
    return result;
}

std::string Quoted(std::string const& text) {
    return '"' + Printable(text) + '"';
}

bool IsUtf8(std::string const& text) {
    std::size_t i = 0;
    while (i < text.size()) {
        std::size_t const length = Decode(text.data() + i, text.size() - i).length;
        if (length == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t CountCharacters(std::string const& text) {
    return text.size() - static_cast<std::size_t>(
                             std::count_if(text.begin(), text.end(), IsContinuation));
}
