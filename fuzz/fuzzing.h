// What the fuzzers share. A fuzzer defines LLVMFuzzerTestOneInput, which takes one input
// after the other and ends the process where an input shows a defect. What calls it is
// libFuzzer, which makes up the inputs, or replay_main.cpp, which reads them from files.

#ifndef FUZZ_FUZZING_H
#define FUZZ_FUZZING_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "harness/utf8_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Ends the process with the sentence, which says what should hold, if it does not.
inline void Require(bool holds, char const* sentence) {
    if (!holds) {
        std::fprintf(stderr, "It does not hold that %s.\n", sentence);
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
