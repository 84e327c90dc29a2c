// Makes arguments from the bytes of an input.
//
//   ByteSource source(data, size);    // "3ab"
//   source.Choice(4)  -> 3
//   source.Byte()     -> 'a'

#ifndef FUZZ_BYTE_SOURCE_H
#define FUZZ_BYTE_SOURCE_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "fuzz/json_model.h"
#include "harness/utf8_oracle.h"

// Takes arguments from the bytes of an input, and zeros after their end. In a choice, a
// digit stands for its number.
class ByteSource {
  public:
    ByteSource(std::uint8_t const* data, std::size_t size)
        : next(data), end(data + size) {}

    bool IsAtEnd() const { return next == end; }
    unsigned Byte() { return IsAtEnd() ? 0U : *next++; }
    unsigned Choice(unsigned count) { return Byte() % 16 % count; }

    // Text of up to seven bytes, in UTF-8.
    std::string Text() {
        std::string text;
        for (unsigned left = Choice(8); left > 0; --left) {
            text += static_cast<char>(Byte());
        }
        if (!DecodeUtf8Strictly(text)) {
            for (char& c : text) {
                c = static_cast<char>(c & 0x7F);
            }
        }
        return text;
    }

    // A name, often one of a few so that it is found again.
    std::string Name() {
        char const* const names[] = {"a", "b", "0", "1", "a/b", "", "\xC3\xA9", "a.*"};
        unsigned const choice = Choice(9);
        return choice < std::size(names) ? names[choice] : Text().c_str();
    }

    std::string Path() {
        char const* const slashes[] = {"/", "", "//"};
        std::string path = slashes[Choice(3)];
        for (unsigned left = Choice(4); left > 0; --left) {
            path += Name();
            path += slashes[Choice(3)];
        }
        return path;
    }

    // A value of no more than four levels below this one.
    json_model::Value TakeValue(unsigned depth = 0) {
        using json_model::Value;
        Value value;
        value.kind = static_cast<Value::Kind>(Choice(depth < 4 ? 7 : 5));
        if (value.kind == Value::kBoolean) {
            value.number = Choice(2);
        } else if (value.kind == Value::kInteger) {
            value.number = Integer();
        } else if (value.kind == Value::kReal) {
            value.number = static_cast<int>(Byte()) - 128;
        } else if (value.kind == Value::kText) {
            value.text = Text();
        } else if (value.kind == Value::kArray) {
            for (unsigned left = Choice(4); left > 0; --left) {
                Append(value, TakeValue(depth + 1));
            }
        } else if (value.kind == Value::kObject) {
            for (unsigned left = Choice(4); left > 0; --left) {
                Value& member = MemberAt(value, Name());
                member = TakeValue(depth + 1);
            }
        }
        return value;
    }

  private:
    long long Integer() {
        long long const numbers[] = {0,        1,         2,        -1,
                                     6001,     INT_MAX,   INT_MIN,  0x100000001,
                                     UINT_MAX, LLONG_MAX, LLONG_MIN};
        return numbers[Choice(std::size(numbers))];
    }

    std::uint8_t const* next;
    std::uint8_t const* end;
};

#endif
