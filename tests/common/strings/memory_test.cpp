// Formatting where memory is short: every single allocation of a call fails once.

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "common/strings/format.h"
#include "tests/support/counted_malloc.h"

namespace {

// Makes the call with no allocation granted, then with one, and so on until it has all
// that it asks for. Until then it may only throw std::bad_alloc.
template <typename Call, typename Text>
void ExpectLackOfMemoryIsThrown(Call call, Text const& expected) {
    for (int granted = 0;; ++granted) {
        Text text;
        bool lacked_memory = false;
        try {
            RefusedAllocations const refused(granted);
            text = call();
            lacked_memory = refused.Any();
        } catch (std::bad_alloc const&) {
            continue;
        }
        EXPECT_FALSE(lacked_memory) << "with " << granted << " allocations";
        EXPECT_EQ(text, expected);
        EXPECT_GT(granted, 1);
        return;
    }
}

TEST(Format, LackOfMemoryAtAnyMomentIsThrownAndNotAShorterText) {
    ExpectLackOfMemoryIsThrown([] { return string_format("%050d", 1); },
                               std::string(49, '0') + "1");
    ExpectLackOfMemoryIsThrown([] { return wstring_format(L"%050d", 1); },
                               std::wstring(49, L'0') + L"1");
    ExpectLackOfMemoryIsThrown([] { return wstring_format(L"%05000d", 1); },
                               std::wstring(4999, L'0') + L"1");
}

}  // namespace
