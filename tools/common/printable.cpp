#include "tools/common/printable.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace tools {

namespace {

// The first character of a text, and how many bytes it takes: 0 if it is not UTF-8.
struct Decoded {
    char32_t character;
    std::size_t length;
};

Decoded Decode(char const* text, std::size_t size) {
    // The smallest character that may take so many bytes, by the number of bytes.
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

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// Control characters, the separators of lines and paragraphs, and the characters that
// Unicode calls default ignorable, or controls of writing direction or annotations.
constexpr CharacterRange kHarmful[] = {
    {0, 0x1F},          {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},
    {0x61C, 0x61C},     {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
    {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
    {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

// Returns true if a terminal might show nothing for the character, or do something.
bool IsHarmful(char32_t character) {
    return std::any_of(std::begin(kHarmful), std::end(kHarmful),
                       [character](CharacterRange const& range) {
                           return character >= range.first && character <= range.last;
                       });
}

// Returns how many columns of a terminal the character takes, by the locale.
std::size_t ColumnsOf(Decoded const& decoded) {
    int const width =
        decoded.length <= 1 ? 1 : wcwidth(static_cast<wchar_t>(decoded.character));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
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

std::string ToUtf8(std::string const& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t const length = Decode(text.data() + i, text.size() - i).length;
        result += length == 0 ? "\xEF\xBF\xBD" : text.substr(i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return result;
}

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t CountColumns(std::string const& text) {
    std::size_t columns = 0;
    for (std::size_t i = 0; i < text.size();) {
        Decoded const decoded = Decode(text.data() + i, text.size() - i);
        columns += ColumnsOf(decoded);
        i += std::max<std::size_t>(decoded.length, 1);
    }
    return columns;
}

std::string CutToColumns(std::string const& text, std::size_t columns) {
    std::size_t used = 0;
    // Where to cut the text if it is too long.
    std::size_t cut = 0;
    for (std::size_t i = 0; i < text.size();) {
        Decoded const decoded = Decode(text.data() + i, text.size() - i);
        used += ColumnsOf(decoded);
        if (used > columns) {
            return columns == 0 ? "" : text.substr(0, cut) + "\xE2\x80\xA6";
        }
        i += std::max<std::size_t>(decoded.length, 1);
        cut = used < columns ? i : cut;
    }
    return text;
}

}  // namespace tools
