// What the string functions do when an allocation fails: every single allocation of a
// call fails once alone, and once together with all later ones.

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "common/strings/encoders.h"
#include "common/strings/format.h"
#include "common/strings/path_text.h"
#include "common/strings/split.h"
#include "tests/common/strings/pieces.h"
#include "tests/common/strings/separators.h"
#include "tests/support/counted_malloc.h"

namespace {

// Lets the first allocation of the call fail, then the second, and so on until none
// fails. The call may only throw std::bad_alloc or return what it always returns.
template <typename Call>
void ExpectLackOfMemoryIsThrown(Call call, int refused) {
    auto const expected = call();
    bool lacked_memory = true;
    for (int granted = 0; lacked_memory; ++granted) {
        std::decay_t<decltype(expected)> result;
        bool thrown = false;
        try {
            RefusedAllocations const refusal(granted, refused);
            result = call();
            lacked_memory = refusal.Any();
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        ASSERT_TRUE(thrown || result == expected)
            << granted << " granted, then " << refused << " refused";
        ASSERT_TRUE(granted > 0 || thrown);
    }
}

template <typename Call>
void ExpectLackOfMemoryIsThrown(Call call) {
    ExpectLackOfMemoryIsThrown(call, INT_MAX);
    ExpectLackOfMemoryIsThrown(call, 1);
}

// Longer than what a string holds without memory of its own.
std::string const kPiece(40, 'p');
std::wstring const kWidePiece(40, L'p');
std::string const kText = kPiece + "," + kPiece + ",," + kPiece;
std::wstring const kWideText = kWidePiece + L"," + kWidePiece + L",," + kWidePiece;

TEST(Memory, LackOfItWhileTextIsFormattedIsThrown) {
    ExpectLackOfMemoryIsThrown([] { return string_format("%050d", 1); });
    ExpectLackOfMemoryIsThrown(
        [] { return string_format("before %.100000f after", 0.1); });
    ExpectLackOfMemoryIsThrown(
        [] { return string_format("before %.5000Lf after", 0.1L); });
    ExpectLackOfMemoryIsThrown(
        [] { return string_format("before %2$*1$d %3$ls after", 5000, 1, L"wide"); });
    ExpectLackOfMemoryIsThrown([] { return string_format("%s", kText.c_str()); });
}

TEST(Memory, LackOfItWhileWideTextIsFormattedIsThrown) {
    ExpectLackOfMemoryIsThrown([] { return wstring_format(L"%050d", 1); });
    ExpectLackOfMemoryIsThrown([] { return wstring_format(L"%05000d", 1); });
    ExpectLackOfMemoryIsThrown(
        [] { return wstring_format(L"before %.100000f after", 0.1); });
    ExpectLackOfMemoryIsThrown(
        [] { return wstring_format(L"before %.5000Lf after", 0.1L); });
    ExpectLackOfMemoryIsThrown(
        [] { return wstring_format(L"before %2$*1$d %3$s after", 5000, 1, "narrow"); });
}

TEST(Memory, LackOfItWhileTextIsCutIsThrownAndNoPieceIsLost) {
    ExpectLackOfMemoryIsThrown([] { return tokenize(kText, ',', Same); });
    ExpectLackOfMemoryIsThrown([] { return tokenize(kWideText, L',', WideSame); });
    ExpectLackOfMemoryIsThrown([] { return tokenize(kText, ",", Same); });
    ExpectLackOfMemoryIsThrown([] { return tokenize(kWideText, L",", WideSame); });
    ExpectLackOfMemoryIsThrown([] { return split_delim(kText, ",", Same); });
    ExpectLackOfMemoryIsThrown([] { return split_delim(kWideText, L",", WideSame); });
    ExpectLackOfMemoryIsThrown(
        [separator = Separator(",")] { return split(kText, separator); });
    ExpectLackOfMemoryIsThrown(
        [separator = Separator(L",")] { return split(kWideText, separator); });
}

TEST(Memory, LackOfItWhileTextIsMadeIsThrown) {
    std::vector<std::string> const items = {kPiece, "", kPiece, "x"};
    ExpectLackOfMemoryIsThrown([&items] { return join(items, kPiece); });
    ExpectLackOfMemoryIsThrown([&items] { return join(items, ","); });
    ExpectLackOfMemoryIsThrown([] { return URLEncode("a text of some length", false); });
    ExpectLackOfMemoryIsThrown([] { return NewUUID().size(); });
    ExpectLackOfMemoryIsThrown([] { return ensure_ends_with_divider(kPiece); });
    ExpectLackOfMemoryIsThrown([] { return remove_head_slashes("/" + kPiece); });
    ExpectLackOfMemoryIsThrown([] { return remove_tail_slashes(kPiece + "/"); });
    ExpectLackOfMemoryIsThrown([] { return remove_duplicated_slashes(kPiece + "//"); });
    ExpectLackOfMemoryIsThrown([] { return get_file_name("a/" + kPiece); });
}

}  // namespace
