#include "tools/launchlog_report/summary.h"

#include <gmock/gmock.h>

#include "tests/tools/launchlog_report/noon.h"

namespace launchlog_report {
namespace {

constexpr Time kSecond = 1000;

LogEvent End(std::string const& name, long long status, std::optional<Time> time,
             std::string const& launcher = "1", long long ret = 7,
             std::string const& child = "7") {
    return {LogEventKind::End, name, child, ret, status, time, launcher};
}

LogEvent Line(LogEventKind kind, std::string const& name,
              std::string const& process = "1", std::optional<Time> time = kNoon) {
    return {kind, name, "", 0, 0, time, process};
}

LogEvent FailedFork(std::string const& name) {
    return Line(LogEventKind::FailedFork, name);
}

LogEvent Start(std::string const& name, std::string const& process, Time time = kNoon) {
    return Line(LogEventKind::Start, name, process, time);
}

LogEvent NoProgram(std::string const& name, std::string const& child) {
    return Line(LogEventKind::NoProgram, name, child);
}

Report ReportOf(std::vector<LogEvent> const& events, Time now = kNoon) {
    Summary summary(now);
    for (LogEvent const& event : events) {
        summary.Add(event, 0);
    }
    return summary.At(now);
}

std::vector<Row> RowsOf(std::vector<LogEvent> const& events, Time now = kNoon) {
    return ReportOf(events, now).items;
}

Row RowOf(std::vector<LogEvent> const& events, Time now = kNoon) {
    return RowsOf(events, now).at(0);
}

// Returns "newest: item by launcher" of what has been given up after these lines.
std::string GivenUpAfter(std::vector<LogEvent> const& events,
                         GivenUpItems const& before = {}) {
    Summary summary(kNoon);
    summary.SetGivenUp(0, before);
    for (LogEvent const& event : events) {
        summary.Add(event, 0);
    }
    GivenUpItems const given_up = summary.GivenUp(0);
    std::string text = given_up.newest_launcher + ":";
    for (auto const& [name, item] : given_up.items) {
        text += " " + name + " by " + item.launcher;
    }
    return text;
}

TEST(Summary, AStopIsNoRestartThoughTheProcessIdComesBack) {
    std::vector<Row> const rows =
        RowsOf({End("a", 9, kNoon), End("b", 9, kNoon), End("a", 0, kNoon + kSecond)},
               kNoon + kSecond);
    EXPECT_EQ(rows.at(0).ends, 2);
    EXPECT_EQ(rows.at(0).restarts, 1);
    EXPECT_EQ(rows.at(0).restarts_per_minute, 1);
    EXPECT_EQ(rows.at(1).restarts, 0);
}

TEST(Summary, TellsTheNewestLauncherAndWhatIsGivenUp) {
    GivenUpItems const before = {"1", {{"a", {"1", kNoon}}}};
    EXPECT_EQ(GivenUpAfter({}, before), "1: a by 1");
    EXPECT_EQ(GivenUpAfter({End("b", 0, kNoon)}, before), "1: a by 1");
    EXPECT_EQ(GivenUpAfter({End("b", 0, kNoon, "2")}, before), "2: a by 1");
    EXPECT_EQ(GivenUpAfter({End("a", 0, kNoon, "2")}, before), "2:");
    EXPECT_EQ(GivenUpAfter({Line(LogEventKind::NamelessItem, "", "2")}, before),
              "2: a by 1");
    EXPECT_EQ(GivenUpAfter({FailedFork("b"), Start("b", "1"), FailedFork("\xFF")}),
              "1: \xEF\xBF\xBD by 1");
}

TEST(Summary, ALinkOfAChainIsNoNewerLauncher) {
    EXPECT_EQ(GivenUpAfter({FailedFork("a"), Line(LogEventKind::FailedFork, "b", "9"),
                            End("b", 9, kNoon, "8", 9, "9")}),
              "9: a by 1")
        << "before the end, nobody knows that it is a link";
    EXPECT_EQ(GivenUpAfter({FailedFork("a"), Start("b", "8"), Start("b", "9"),
                            End("b", 9, kNoon, "8", 9, "9")}),
              "1: a by 1");
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
    EXPECT_THAT(names, testing::ElementsAre("a", "b"));
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
    Summary summary(kNoon);
    summary.Add(End("a", 0, kNoon), 0);
    EXPECT_EQ(summary.At(kNoon).items.at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.At(kNoon + 59 * kSecond).items.at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.At(kNoon + 60 * kSecond).items.at(0).restarts_per_minute, 0);
    summary.Add(End("a", 0, kNoon + 61 * kSecond), 0);
    EXPECT_EQ(summary.At(kNoon + 61 * kSecond).items.at(0).restarts_per_minute, 1);
    EXPECT_EQ(summary.At(kNoon + 61 * kSecond).items.at(0).restarts, 2);
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
    EXPECT_EQ(DescribeLastStatus(row), "given up: fork failed; exit 3");
    row = RowOf({FailedFork("a"), End("a", 768, kNoon)});
    EXPECT_FALSE(row.given_up);
    EXPECT_EQ(DescribeLastStatus(row), "exit 3");
}

TEST(Summary, TheLastEndAndItsStatusAreOfOneLineIfTheClockGoesBack) {
    Row const row = RowOf({End("a", 256, kNoon - 9 * kSecond), End("a", 512, kNoon),
                           End("a", 768, kNoon - 5 * kSecond)});
    EXPECT_EQ(row.last_end, kNoon - 5 * kSecond);
    EXPECT_EQ(DescribeLastStatus(row), "exit 3");
    EXPECT_EQ(row.first_end, kNoon - 9 * kSecond);
    Row const untimed = RowOf({End("a", 256, kNoon), End("a", 512, std::nullopt)});
    EXPECT_EQ(untimed.last_end, std::nullopt);
    EXPECT_EQ(DescribeLastStatus(untimed), "exit 2");
}

TEST(Summary, OfSeveralLogsTheLatestLastEndCounts) {
    Summary summary(kNoon);
    summary.Add(End("a", 256, kNoon - 2 * kSecond), 0);
    summary.Add(End("a", 512, kNoon - 4 * kSecond), 1);
    summary.Add(End("a", 768, kNoon - 3 * kSecond), 1);
    Row row = summary.At(kNoon).items.at(0);
    EXPECT_EQ(row.last_end, kNoon - 2 * kSecond);
    EXPECT_EQ(DescribeLastStatus(row), "exit 1");
    EXPECT_EQ(row.first_end, kNoon - 4 * kSecond);
    EXPECT_EQ(row.ends, 3);
    EXPECT_EQ(row.restarts_per_minute, 3);
    summary.Add(End("a", 1024, kNoon), 1);
    EXPECT_EQ(DescribeLastStatus(summary.At(kNoon).items.at(0)), "exit 4");
    // Without a time, the log with the last line counts.
    summary.Add(End("a", 1280, std::nullopt), 0);
    row = summary.At(kNoon).items.at(0);
    EXPECT_EQ(DescribeLastStatus(row), "exit 5");
    EXPECT_EQ(row.last_end, std::nullopt);
}

TEST(Summary, AStateOfOneLogIsNotEndedByAnother) {
    Summary summary(kNoon);
    summary.Add(FailedFork("a"), 0);
    summary.Add(End("a", 768, kNoon), 1);
    EXPECT_EQ(DescribeLastStatus(summary.At(kNoon).items.at(0)),
              "given up: fork failed; exit 3");
    summary.Add(Start("a", "1"), 0);
    EXPECT_FALSE(summary.At(kNoon).items.at(0).given_up);
}

TEST(Summary, AChildWithoutAProgramIsAStateUntilAnotherChildEnds) {
    std::vector<LogEvent> events = {NoProgram("a", "20")};
    EXPECT_EQ(DescribeLastStatus(RowOf(events)), "no program");
    EXPECT_TRUE(RowOf(events).IsMarked());
    events.push_back(End("a", 0, kNoon, "1", 20, "20"));
    EXPECT_EQ(DescribeLastStatus(RowOf(events)), "no program; exit 0");
    events.push_back(Start("a", "1"));
    EXPECT_TRUE(RowOf(events).no_program);
    events.push_back(NoProgram("a", "21"));
    events.push_back(End("a", 0, kNoon, "1", 21, "21"));
    EXPECT_EQ(DescribeLastStatus(RowOf(events)), "no program; exit 0");
    events.push_back(End("a", 0, kNoon, "1", 22, "22"));
    EXPECT_EQ(DescribeLastStatus(RowOf(events)), "exit 0");
    EXPECT_FALSE(RowOf(events).IsMarked());
}

TEST(Summary, TwoLaunchersWithoutAProgramDoNotEndEachOthersState) {
    EXPECT_TRUE(RowOf({NoProgram("a", "20"), NoProgram("a", "30"),
                       End("a", 0, kNoon, "1", 20, "20")})
                    .no_program);
}

TEST(Summary, AStartByAnotherLauncherOrMuchLaterEndsTheStateOfNoProgram) {
    std::vector<LogEvent> const events = {NoProgram("a", "20"),
                                          End("a", 0, kNoon, "1", 20, "20")};
    auto const with = [&events](LogEvent const& start) {
        std::vector<LogEvent> more = events;
        more.push_back(start);
        return RowOf(more).no_program;
    };
    EXPECT_TRUE(with(Start("a", "1", kNoon + 5 * kSecond)));
    EXPECT_FALSE(with(Start("a", "1", kNoon + 5 * kSecond + 1)));
    EXPECT_FALSE(with(Start("a", "2")));
}

TEST(Summary, WithoutProcessIdsTheNextEndIsThatOfTheChildWithoutAProgram) {
    std::vector<LogEvent> events = {NoProgram("a", ""), End("a", 0, kNoon, "", 20, "20")};
    EXPECT_TRUE(RowOf(events).no_program);
    events.push_back(End("a", 0, kNoon, "", 21, "21"));
    EXPECT_FALSE(RowOf(events).no_program);
}

TEST(Summary, AStartAloneIsNoRow) {
    EXPECT_TRUE(RowsOf({Start("a", "1")}).empty());
    EXPECT_FALSE(RowOf({FailedFork("a"), Start("a", "1"), End("a", 0, kNoon)}).given_up);
}

TEST(Summary, AChainIsAStateAndTellsItsProcesses) {
    std::vector<LogEvent> events;
    for (int i = 0; i < 40; ++i) {
        events.push_back(Start("a", std::to_string(100 + i), kNoon + 55LL * i));
    }
    Row const row = RowOf(events, kNoon + 3 * kSecond);
    EXPECT_EQ(DescribeLastStatus(row), "chain of 40 processes");
    EXPECT_EQ(row.chain_processes, 40);
    EXPECT_TRUE(row.IsMarked());
    EXPECT_EQ(row.last_line, kNoon + 39LL * 55);
}

// Each of these launchers starts each item once and is then replaced.
TEST(Summary, LaunchersOfSeveralItemsAreNoChain) {
    std::vector<LogEvent> events;
    for (int i = 0; i < 40; ++i) {
        std::string const launcher = std::to_string(100 + i);
        events.push_back(Start("a", launcher, kNoon + 55LL * i));
        events.push_back(Start("b", launcher, kNoon + 55LL * i));
    }
    EXPECT_TRUE(RowsOf(events).empty());
    for (LogEvent& event : events) {
        if (event.name == "b") {
            event = Line(LogEventKind::NamelessItem, "", event.process, event.time);
        }
    }
    EXPECT_TRUE(RowsOf(events).empty());
}

TEST(Summary, AFailedForkOfALinkIsNotThatOfTheLauncher) {
    std::vector<LogEvent> events;
    for (int i = 0; i < 10; ++i) {
        events.push_back(Start("a", std::to_string(100 + i), kNoon + 55LL * i));
    }
    events.push_back(Line(LogEventKind::FailedFork, "a", "109", kNoon + 600));
    EXPECT_EQ(DescribeLastStatus(RowOf(events)), "chain of 10 processes");
    events.push_back(Start("b", "100", kNoon + 600));
    events.push_back(Line(LogEventKind::FailedFork, "a", "100", kNoon + 700));
    EXPECT_EQ(DescribeLastStatus(RowOf(events)),
              "chain of 9 processes; given up: fork failed");
}

TEST(Summary, LauncherLinesAreThoseOfOneStart) {
    LogEventKind const nameless = LogEventKind::NamelessItem;
    LogEventKind const failed = LogEventKind::UnreadableList;
    Report const report =
        ReportOf({Line(nameless, "", "1", kNoon), Line(nameless, "", "2", kNoon),
                  Line(nameless, "", "1", kNoon + kSecond),
                  Line(failed, "", "1", kNoon + 2 * kSecond),
                  // The process ids are used again.
                  Line(failed, "", "1", kNoon + 3 * kSecond),
                  Line(nameless, "", "2", kNoon + 60 * kSecond),
                  Line(nameless, "", "2", kNoon + 120 * kSecond + 1)});
    ASSERT_EQ(report.launchers.size(), 4U);
    EXPECT_EQ(report.launchers[0].process, "1");
    EXPECT_EQ(report.launchers[0].items_without_name, 2);
    EXPECT_TRUE(report.launchers[0].list_failed);
    EXPECT_EQ(report.launchers[0].first, kNoon);
    EXPECT_EQ(report.launchers[0].last, kNoon + 2 * kSecond);
    EXPECT_EQ(report.launchers[1].process, "2");
    EXPECT_EQ(report.launchers[1].items_without_name, 2);
    EXPECT_FALSE(report.launchers[1].list_failed);
    EXPECT_EQ(report.launchers[2].process, "1");
    EXPECT_EQ(report.launchers[2].items_without_name, 0);
    EXPECT_EQ(report.launchers[3].items_without_name, 1);
    EXPECT_TRUE(report.items.empty());
}

}  // namespace
}  // namespace launchlog_report
