// A strict UTF-8 decoder, to compare the product's with. It is written in another way: it
// looks up every sequence in the table of well-formed ones.
//
//   DecodeUtf8Strictly("\xC3\xA9")  -> L"\u00E9"
//   DecodeUtf8Strictly("\xC3")      -> no value

#ifndef HARNESS_UTF8_ORACLE_H
#define HARNESS_UTF8_ORACLE_H

#include <cstddef>
#include <optional>
#include <string>

struct Utf8ByteRange {
    unsigned char first;
    unsigned char last;
};

struct Utf8SequenceForm {
    std::size_t length;
    Utf8ByteRange bytes[4];
};

// The Unicode Standard, chapter 3, "Well-Formed UTF-8 Byte Sequences".
inline constexpr Utf8SequenceForm kUtf8SequenceForms[] = {
    {1, {{0x00, 0x7F}}},
    {2, {{0xC2, 0xDF}, {0x80, 0xBF}}},
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
    {3, {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}}};

// Returns the form of the sequence in `text` at `position`; null if it has none of them.
inline Utf8SequenceForm const* FindUtf8SequenceForm(std::string const& text,
                                                    std::size_t position) {
    for (Utf8SequenceForm const& form : kUtf8SequenceForms) {
        std::size_t matching = 0;
        while (matching < form.length && position + matching < text.size()) {
            auto const byte = static_cast<unsigned char>(text[position + matching]);
            Utf8ByteRange const range = form.bytes[matching];
            if (byte < range.first || byte > range.last) {
                break;
            }
            ++matching;
        }
        if (matching == form.length) {
            return &form;
        }
    }
    return nullptr;
}

// Returns the code points of `text`, one per element; no value if any part of it is not
// well-formed.
inline std::optional<std::wstring> DecodeUtf8Strictly(std::string const& text) {
    unsigned const lead_bits[] = {0, 7, 5, 4, 3};  // by the length of the sequence
    std::wstring decoded;
    for (std::size_t position = 0; position < text.size();) {
        Utf8SequenceForm const* const form = FindUtf8SequenceForm(text, position);
        if (form == nullptr) {
            return std::nullopt;
        }
        unsigned long code_point = 0;
        for (std::size_t i = 0; i < form->length; ++i) {
            unsigned const bits = i == 0 ? lead_bits[form->length] : 6;
            auto const byte = static_cast<unsigned char>(text[position + i]);
            code_point = (code_point << bits) | (byte & ((1U << bits) - 1));
        }
        decoded += static_cast<wchar_t>(code_point);
        position += form->length;
    }
    return decoded;
}

#endif
