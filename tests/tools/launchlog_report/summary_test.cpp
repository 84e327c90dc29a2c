#include "tools/launchlog_report/summary.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

constexpr Time kNoon = 1795262400000;
constexpr Time kSecond = 1000;

LogEvent End(std::string const& name, long long status, std::optional<Time> time,
             std::string const& launcher = "1", long long ret = 7) {
    return {LogEventKind::End, name, ret, status, time, launcher};
}

LogEvent FailedFork(std::string const& name) {
    return {LogEventKind::FailedFork, name, 0, 0, kNoon, "1"};
}

std::vector<Row> RowsOf(std::vector<LogEvent> const& events, Time now = kNoon) {
    Summary summary;
    for (LogEvent const& event : events) {
        summary.Add(event, now);
    }
    return summary.Rows(now);
}

Row RowOf(std::vector<LogEvent> const& events, Time now = kNoon) {
    return RowsOf(events, now).at(0);
}

TEST(Summary, NothingGivesNoRow) {
    EXPECT_TRUE(RowsOf({}).empty());
}

TEST(Summary, ItemsAreOrderedByName) {
    std::vector<std::string> names;
    for (Row const& row :
         RowsOf({End("b", 0, kNoon), End("a", 0, kNoon), End("b", 0, kNoon)})) {
        names.push_back(row.name);
    }
    EXPECT_THAT(names, ElementsAre("a", "b"));
}

TEST(Summary, TellsTheFirstEndTheLastAndItsStatus) {
    Row const row =
        RowOf({End("a", 256, kNoon - 9 * kSecond), End("a", 11, kNoon - 4 * kSecond),
               End("a", 768, kNoon - 2 * kSecond)});
    EXPECT_EQ(row.first_end, kNoon - 9 * kSecond);
    EXPECT_EQ(row.last_end, kNoon - 2 * kSecond);
    EXPECT_EQ(DescribeLastStatus(row), "exit 3");
    EXPECT_EQ(row.ends, 3);
    EXPECT_EQ(row.restarts, 3);
}

TEST(Summary, TheEndOfAStopIsNoRestart) {
    Row const row = RowOf({End("a", 768, kNoon - kSecond), End("a", 9, kNoon)});
    EXPECT_EQ(row.ends, 2);
    EXPECT_EQ(row.restarts, 1);
    EXPECT_EQ(row.restarts_per_minute, 1);
    EXPECT_EQ(DescribeLastStatus(row), "killed by SIGKILL");
}

TEST(Summary, AnEndBySigkillThatAnotherFollowsIsARestart) {
    EXPECT_EQ(RowOf({End("a", 9, kNoon), End("a", 9, kNoon)}).restarts, 1);
    EXPECT_EQ(RowOf({End("a", 9, kNoon), End("a", 768, kNoon)}).restarts, 2);
    EXPECT_EQ(RowOf({End("a", 9, kNoon), End("b", 768, kNoon)}).restarts, 0);
}

TEST(Summary, EachLauncherHasAStopOfItsOwn) {
    Row const row = RowOf({End("a", 768, kNoon, "1"), End("a", 9, kNoon, "1"),
                           End("a", 768, kNoon, "2"), End("a", 9, kNoon, "2")});
    EXPECT_EQ(row.ends, 4);
    EXPECT_EQ(row.restarts, 2);
    EXPECT_EQ(row.restarts_per_minute, 2);
}

TEST(Summary, OnlyTheLastSixtySecondsCountForTheLastMinute) {
    Row const row =
        RowOf({End("a", 0, kNoon - 61 * kSecond), End("a", 0, kNoon - 60 * kSecond),
               End("a", 0, kNoon - 60 * kSecond + 1), End("a", 0, kNoon),
               End("a", 0, kNoon + 1)});
    EXPECT_EQ(row.restarts, 5);
    EXPECT_EQ(row.restarts_per_minute, 2);
}

TEST(Summary, AStopOfLongAgoTakesNothingFromTheLastMinute) {
    Row const row =
        RowOf({End("a", 9, kNoon - 3600 * kSecond, "1"), End("a", 0, kNoon, "2")});
    EXPECT_EQ(row.restarts, 1);
    EXPECT_EQ(row.restarts_per_minute, 1);
    EXPECT_EQ(RowOf({End("a", 9, kNoon - 60 * kSecond, "1"), End("a", 0, kNoon, "2")})
                  .restarts_per_minute,
              1);
}

TEST(Summary, TheLastMinuteGoesOnWithTheClock) {
    Summary summary;
    summary.Add(End("a", 0, kNoon), kNoon);
    EXPECT_EQ(summary.Rows(kNoon).at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.Rows(kNoon + 59 * kSecond).at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.Rows(kNoon + 60 * kSecond).at(0).restarts_per_minute, 0);
    summary.Add(End("a", 0, kNoon + 61 * kSecond), kNoon + 61 * kSecond);
    EXPECT_EQ(summary.Rows(kNoon + 61 * kSecond).at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.Rows(kNoon + 61 * kSecond).at(0).restarts, 2);
}

TEST(Summary, MoreThanTenRestartsInTheLastMinuteAreOften) {
    std::vector<LogEvent> events(10, End("a", 0, kNoon));
    EXPECT_FALSE(RowOf(events).RestartsOften());
    events.push_back(End("a", 0, kNoon));
    EXPECT_TRUE(RowOf(events).RestartsOften());
    EXPECT_FALSE(RowOf(events, kNoon + 60 * kSecond).RestartsOften());
}

TEST(Summary, EndsWithoutATimeCountButNotForTheLastMinute) {
    Row const row = RowOf({End("a", 768, std::nullopt), End("a", 768, std::nullopt)});
    EXPECT_EQ(row.restarts, 2);
    EXPECT_EQ(row.restarts_per_minute, std::nullopt);
    EXPECT_EQ(row.first_end, std::nullopt);
    EXPECT_FALSE(row.RestartsOften());
    EXPECT_EQ(RowOf({End("a", 0, kNoon), End("a", 9, std::nullopt)}).restarts_per_minute,
              1);
}

TEST(Summary, AFailedWaitIsARestartOfUnknownStatus) {
    Row const row = RowOf({End("a", 9, kNoon, "1", -1)});
    EXPECT_EQ(row.restarts, 1);
    EXPECT_FALSE(row.last_status.has_value());
    EXPECT_EQ(DescribeLastStatus(row), "unknown, waitpid failed");
}

TEST(Summary, AFailedForkGivesAnItemUpUntilItEndsAgain) {
    Row row = RowOf({FailedFork("a")});
    EXPECT_TRUE(row.given_up);
    EXPECT_EQ(row.ends, 0);
    EXPECT_EQ(row.restarts_per_minute, 0);
    EXPECT_EQ(DescribeLastStatus(row), "given up: fork failed");
    row = RowOf({End("a", 768, kNoon), FailedFork("a")});
    EXPECT_EQ(DescribeLastStatus(row), "exit 3; given up: fork failed");
    row = RowOf({FailedFork("a"), End("a", 768, kNoon)});
    EXPECT_FALSE(row.given_up);
    EXPECT_EQ(DescribeLastStatus(row), "exit 3");
}

}  // namespace
