#include "tools/launchlog_report/time_stamp.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace launchlog_report {
namespace {

// Sets a local zone that is one hour ahead of UTC in winter, and two in summer.
class TimeStamp : public testing::Test {
  protected:
    TimeStamp() {
        setenv("TZ", "XXX-1YYY,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~TimeStamp() override {
        unsetenv("TZ");
        tzset();
    }
};

constexpr Time kExample = 1795262018000;

TEST_F(TimeStamp, ReadsWhatTheLoggingLibraryWrites) {
    EXPECT_EQ(ParseTimeStamp("2026-11-21T11:53:38.837Z ERROR 181 [LAUNCHER  ] x"),
              kExample + 837);
    EXPECT_EQ(ParseTimeStamp("1970-01-01T00:00:00.000Z"), 0);
    EXPECT_EQ(ParseTimeStamp("2024-02-29T23:59:59.999Z"), 1709251199999);
    EXPECT_EQ(ParseTimeStamp("2000-03-01T00:00:00Z"), 951868800000);
    EXPECT_EQ(ParseTimeStamp("1969-12-31T23:59:59Z"), -1000);
}

TEST_F(TimeStamp, AgreesWithTheSystemOnEveryDayOfFourHundredYears) {
    for (long long day = -10000; day < 136097; ++day) {
        std::string const text = FormatTime(day * 86400000);
        ASSERT_EQ(ParseTimeStamp(text), day * 86400000) << text;
    }
}

TEST_F(TimeStamp, ReadsOtherCommonForms) {
    for (char const* const text :
         {"2026/11/21 11:53:38 UTC", "2026.11.21 11:53:38Z x",
          "[2026-11-21 11:53:38 GMT]", "(2026-11-21  11:53:38Z)",
          " \t2026-11-21T11:53:38Z", "2026-11-21T12:53:38+01:00",
          "2026-11-21T03:53:38-0800", "2026-11-21 13:53:38 +02 x",
          "2026-11-21T17:23:38+05:30"}) {
        EXPECT_EQ(ParseTimeStamp(text), kExample) << text;
    }
    EXPECT_EQ(ParseTimeStamp("2026-11-21 11:53:38,5 UTC"), kExample + 500);
    EXPECT_EQ(ParseTimeStamp("2026-11-21 11:53:38.123456789Z"), kExample + 123);
}

TEST_F(TimeStamp, ATimeAloneIsReadAsAStamp) {
    EXPECT_EQ(ParseTime("2026-11-21T11:53:38Z"), kExample);
    EXPECT_EQ(ParseTime("2026-11-21 11:53:38.837 UTC"), kExample + 837);
    EXPECT_EQ(ParseTime("2026-11-21T12:53:38+01:00"), kExample);
    EXPECT_EQ(ParseTime("2026/11/21 12:53:38"), kExample);
}

TEST_F(TimeStamp, ATimeAloneHasNothingBeforeOrAfterIt) {
    for (char const* const text :
         {"2026-11-21T12:00:30Zulu", "2026-11-21T12:00:30Z ", "2026-11-21T12:00:30 ",
          "2026-11-21T12:00:30Z x", "2026-11-21T12:00:30+", "2026-11-21T12:00:30+25:00",
          "2026-11-21T12:00:30+01:0", "2026-11-21T12:00:300", "2026-11-21T12:00:30.5x",
          " 2026-11-21T12:00:30Z", "[2026-11-21T12:00:30Z", "[2026-11-21T12:00:30Z]", "",
          "2026-11-21"}) {
        EXPECT_EQ(ParseTime(text), std::nullopt) << text;
    }
    EXPECT_EQ(ParseTime(std::string("2026-11-21T12:00:30Z\0", 21)), std::nullopt);
}

TEST_F(TimeStamp, TheDayOfATimeAloneExists) {
    for (char const* const day :
         {"2026-02-29", "2026-02-31", "2026-04-31", "2026-06-31", "2026-09-31",
          "2026-11-31", "1900-02-29", "2024-02-30", "2026-12-32", "2026-01-00"}) {
        EXPECT_EQ(ParseTime(std::string(day) + "T12:00:00Z"), std::nullopt) << day;
    }
    for (char const* const day :
         {"2026-02-28", "2024-02-29", "2000-02-29", "2026-12-31", "2026-01-31"}) {
        EXPECT_EQ(ParseTime(std::string(day) + "T12:00:00Z"),
                  ParseTimeStamp(std::string(day) + "T12:00:00Z"))
            << day;
    }
    EXPECT_EQ(ParseTime("2026-12-31T23:59:60Z"), ParseTime("2027-01-01T00:00:00Z"));
}

TEST_F(TimeStamp, WithoutAZoneItIsLocalTime) {
    EXPECT_EQ(ParseTimeStamp("2026-11-21 12:53:38"), kExample);
    EXPECT_EQ(ParseTimeStamp("2026-11-21 12:53:38.250 ERROR"), kExample + 250);
    EXPECT_EQ(ParseTimeStamp("2026-07-01 02:00:00"), 1782864000000);
    // These look like a zone, but are not one.
    EXPECT_EQ(ParseTimeStamp("2026-11-21 12:53:38 Zoe"), kExample);
    EXPECT_EQ(ParseTimeStamp("2026-11-21 12:53:38 -12345"), kExample);
    EXPECT_EQ(ParseTimeStamp("2026-11-21 12:53:38 +x"), kExample);
}

TEST_F(TimeStamp, OtherTextsHaveNoTimestamp) {
    for (char const* const text :
         {"", "x", "ERROR 2026-11-21T11:53:38Z", "Nov 21 11:53:38", "11:53:38",
          "2026-11-21", "2026-11-21T11:53Z", "2026-13-21T11:53:38Z",
          "2026-00-21T11:53:38Z", "2026-11-32T11:53:38Z", "2026-11-00T11:53:38Z",
          "2026-11-21T24:53:38Z", "2026-11-21T11:60:38Z", "2026-11-21T11:53:61Z",
          "26-11-21T11:53:38Z", "2026-1-21T11:53:38Z", "20261121T115338Z",
          "2026-11-21x11:53:38Z", "2026:11:21 11:53:38"}) {
        EXPECT_EQ(ParseTimeStamp(text), std::nullopt) << text;
    }
}

TEST_F(TimeStamp, IsPrintedInUtcToTheSecond) {
    EXPECT_EQ(FormatTime(kExample + 999), "2026-11-21T11:53:38Z");
    EXPECT_EQ(FormatTime(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(FormatTime(-1), "1969-12-31T23:59:59Z");
}

TEST_F(TimeStamp, NowIsAfterThisWasWritten) {
    EXPECT_GT(Now(), 1700000000000);
}

}  // namespace
}  // namespace launchlog_report
