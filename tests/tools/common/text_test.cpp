#include "tools/common/text.h"

#include <gtest/gtest.h>

namespace tools {
namespace {

TEST(IsDigits, NeedsADigitAndTakesNothingElse) {
    EXPECT_TRUE(IsDigits("0"));
    EXPECT_TRUE(IsDigits("0123456789"));
    for (char const* const text : {"", "-1", "1.", " 1", "1/", "1:", "\xB2"}) {
        EXPECT_FALSE(IsDigits(text)) << text;
    }
}

TEST(BeginsWith, ComparesTheBeginningAlone) {
    EXPECT_TRUE(BeginsWith("agent", "ag"));
    EXPECT_TRUE(BeginsWith("agent", "agent"));
    EXPECT_TRUE(BeginsWith("agent", ""));
    EXPECT_FALSE(BeginsWith("agent", "agents"));
    EXPECT_FALSE(BeginsWith("agent", "gent"));
    EXPECT_FALSE(BeginsWith("", "a"));
}

}  // namespace
}  // namespace tools
