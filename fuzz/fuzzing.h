// What the fuzzers share. A fuzzer defines LLVMFuzzerTestOneInput, which takes one input
// after the other, and ends the process if an input shows a defect. libFuzzer calls it
// with inputs that it makes, replay_main.cpp with inputs from files.

#ifndef FUZZ_FUZZING_H
#define FUZZ_FUZZING_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "harness/utf8_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Ends the process if `holds` is false, after a line with the sentence, which says what
// should hold.
inline void Require(bool holds, char const* sentence) {
    if (!holds) {
        std::fprintf(stderr, "This does not hold: %s.\n", sentence);
        std::abort();
    }
}

// Takes the first line off `text` and returns it without its line feed.
inline std::string TakeLine(std::string& text) {
    std::size_t const end = text.find('\n');
    std::string line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

// Returns `text` as wide text: decoded if it is UTF-8, else with an element for each
// byte.
inline std::wstring Widen(std::string const& text) {
    return DecodeUtf8Strictly(text).value_or(std::wstring(text.begin(), text.end()));
}

#endif
