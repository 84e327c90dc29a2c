#include "tools/launchlog_report/when.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace launchlog_report {
namespace {

// Sets a local zone that is one hour ahead of UTC in winter, and two in summer.
class When : public testing::Test {
  protected:
    When() {
        setenv("TZ", "XXX-1YYY,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~When() override {
        unsetenv("TZ");
        tzset();
    }
};

// A Sunday in spring, five hours after the summer time has begun.
constexpr char kNow[] = "2026-03-29T06:00:00Z";

std::string Parse(std::string const& text) {
    std::optional<Time> const time = ParseWhen(text, *ParseTime(kNow));
    return time ? FormatExactTime(*time) : "-";
}

TEST_F(When, ASpanIsCountedFromNow) {
    for (char const* const text :
         {"2 hours ago", "-2h", "- 2 h", "-120min", "-1h 60min", "-1h60m", "-1.5h 30min",
          "-7200", "7200 seconds ago", "-7200000ms"}) {
        EXPECT_EQ(Parse(text), "2026-03-29T04:00:00.000Z") << text;
    }
    EXPECT_EQ(Parse("+90s"), "2026-03-29T06:01:30.000Z");
    EXPECT_EQ(Parse("1 week ago"), "2026-03-22T06:00:00.000Z");
    EXPECT_EQ(Parse("-1M"), "2026-02-26T19:26:24.000Z");
    EXPECT_EQ(Parse("-1y"), "2025-03-29T00:00:00.000Z");
    EXPECT_EQ(Parse("-250ms"), "2026-03-29T05:59:59.750Z");
}

TEST_F(When, ADayBeginsAtItsLocalMidnight) {
    EXPECT_EQ(Parse("now"), "2026-03-29T06:00:00.000Z");
    EXPECT_EQ(Parse("today"), "2026-03-28T23:00:00.000Z");
    EXPECT_EQ(Parse("yesterday"), "2026-03-27T23:00:00.000Z");
    EXPECT_EQ(Parse("tomorrow"), "2026-03-29T22:00:00.000Z");
    EXPECT_EQ(Parse("2026-03-01"), "2026-02-28T23:00:00.000Z");
}

TEST_F(When, ATimeMayLackItsSecondsOrItsDay) {
    EXPECT_EQ(Parse("2026-03-01 12:30"), "2026-03-01T11:30:00.000Z");
    EXPECT_EQ(Parse("12:30"), "2026-03-29T10:30:00.000Z");
    EXPECT_EQ(Parse("12:30:15"), "2026-03-29T10:30:15.000Z");
    EXPECT_EQ(Parse("12:30:15.5Z"), "2026-03-29T12:30:15.500Z");
    EXPECT_EQ(Parse("2026-03-01T12:30:15+02:00"), "2026-03-01T10:30:15.000Z");
    EXPECT_EQ(Parse("@1774764000"), "2026-03-29T06:00:00.000Z");
}

TEST_F(When, AnotherTextIsNoTime) {
    for (char const* const text :
         {"",           " ",         "-",       "+",         "ago",
          " ago",       "x ago",     "2 hours", "2h",        "-2 hours ago",
          "-2x",        "-h",        "-1.2.3h", "-.5h",      "--2h",
          "-1h-1h",     "-9999999y", "@",       "@-1",       "@1h",
          "2026-02-29", "24:00",     "12",      "Yesterday", "now ",
          "2026-03-01x"}) {
        EXPECT_EQ(Parse(text), "-") << text;
    }
}

}  // namespace
}  // namespace launchlog_report
