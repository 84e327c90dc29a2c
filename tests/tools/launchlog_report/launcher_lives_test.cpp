#include "tools/launchlog_report/launcher_lives.h"

#include <gmock/gmock.h>

#include <vector>

namespace launchlog_report {
namespace {

using testing::ElementsAre;

LogEvent End(std::string const& name, long long status, Time time = 0) {
    return {LogEventKind::End, name, "7", 7, status, time, "1"};
}

LogEvent Other(LogEventKind kind, std::string const& name, Time time) {
    return {kind, name, "", 0, 0, time, "1"};
}

// Returns the numbers of the lives that the lines of one log belong to.
std::vector<std::size_t> LivesOf(std::vector<LogEvent> const& events) {
    LauncherLives lives;
    std::vector<std::size_t> numbers;
    for (LogEvent const& event : events) {
        numbers.push_back(lives.Add(event, 0).value());
    }
    return numbers;
}

TEST(LauncherLives, EndWithAStop) {
    EXPECT_THAT(LivesOf({End("a", 9), End("b", 9), End("a", 0)}), ElementsAre(0, 0, 1));
    EXPECT_THAT(LivesOf({End("a", 9), End("b", 9), End("a", 9)}), ElementsAre(0, 0, 1));
    // The stop kills a program that never ended before.
    EXPECT_THAT(LivesOf({End("a", 9), End("b", 9), End("c", 9)}), ElementsAre(0, 0, 0));
}

TEST(LauncherLives, GoOnAfterAProgramWasKilled) {
    EXPECT_THAT(LivesOf({End("a", 9), End("a", 0)}), ElementsAre(0, 0));
    EXPECT_THAT(LivesOf({End("a", 9), End("b", 0), End("a", 0), End("b", 9)}),
                ElementsAre(0, 0, 0, 0));
}

TEST(LauncherLives, BeginWithAStartOfWhatWasStartedLongAgo) {
    for (LogEventKind const kind : {LogEventKind::Start, LogEventKind::FailedFork}) {
        LogEvent const first = Other(kind, "a", 0);
        EXPECT_THAT(LivesOf({first, Other(LogEventKind::Start, "a", 60'000)}),
                    ElementsAre(0, 0));
        EXPECT_THAT(LivesOf({first, Other(LogEventKind::Start, "a", 60'001)}),
                    ElementsAre(0, 1));
        EXPECT_THAT(
            LivesOf({first, End("a", 0, 10), Other(LogEventKind::Start, "a", 99'999)}),
            ElementsAre(0, 0, 0));
    }
}

TEST(LauncherLives, BeginWithAMessageOfTheStartUp) {
    LogEvent const first = Other(LogEventKind::NamelessItem, "", 0);
    EXPECT_THAT(LivesOf({first, Other(LogEventKind::NamelessItem, "", 60'000)}),
                ElementsAre(0, 0));
    EXPECT_THAT(LivesOf({first, Other(LogEventKind::NamelessItem, "", 60'001)}),
                ElementsAre(0, 1));
}

TEST(LauncherLives, EndWithAnUnreadableListAndTheKillsAfterIt) {
    LogEvent const failed = Other(LogEventKind::UnreadableList, "", 0);
    EXPECT_THAT(LivesOf({failed, End("a", 9), End("b", 0)}), ElementsAre(0, 0, 1));
    EXPECT_THAT(LivesOf({failed, failed}), ElementsAre(0, 1));
}

TEST(LauncherLives, AreNotThoseOfAChildWithoutAProgram) {
    LauncherLives lives;
    LogEvent const none = Other(LogEventKind::NoProgram, "a", 0);
    LogEvent const other = Other(LogEventKind::Other, "", 0);
    EXPECT_EQ(lives.Add(none, 0), std::nullopt);
    EXPECT_EQ(lives.Add(other, 0), std::nullopt);
    EXPECT_EQ(lives.Add(End("a", 0), 0), 0U);
    EXPECT_EQ(lives.Add(other, 0), 0U);
    EXPECT_EQ(lives.Add(other, 1), std::nullopt);
}

TEST(LauncherLives, AreThoseOfOneLogAndProcess) {
    LauncherLives lives;
    LogEvent other = End("a", 0);
    other.process = "2";
    EXPECT_EQ(lives.Add(End("a", 0), 0), 0U);
    EXPECT_EQ(lives.Add(other, 0), 1U);
    EXPECT_EQ(lives.Add(End("a", 0), 1), 2U);
    EXPECT_EQ(lives.Add(End("b", 0), 0), 0U);
}

}  // namespace
}  // namespace launchlog_report
