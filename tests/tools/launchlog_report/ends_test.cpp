#include "tools/launchlog_report/ends.h"

#include <gmock/gmock.h>

#include <vector>

namespace launchlog_report {
namespace {

using testing::ElementsAre;

LogEvent End(long long status, std::optional<Time> time,
             std::string const& launcher = "1", long long ret = 7) {
    return {LogEventKind::End, "a", "7", ret, status, time, launcher};
}

LogEvent Start(Time time, std::string const& launcher = "1") {
    return {LogEventKind::Start, "a", "", 0, 0, time, launcher};
}

// Returns "1 exit_0 950", with "-" for an unknown uptime, for each end as it comes.
std::vector<std::string> EndsOf(std::vector<LogEvent> const& events) {
    std::vector<std::string> texts;
    Ends ends([&texts](ProgramRunEnd const& end) {
        texts.push_back(std::to_string(end.number) + " " + CauseName(end.cause) + " " +
                        (end.uptime ? std::to_string(*end.uptime) : "-"));
    });
    for (LogEvent const& event : events) {
        ends.Add(event, 0);
    }
    ends.Finish();
    return texts;
}

TEST(Ends, HaveACause) {
    EXPECT_THAT(EndsOf({End(0, {}), End(768, {}), End(15, {}), End(139, {}),
                        End(0x137F, {}), End(0, {}, "1", -1)}),
                ElementsAre("1 exit_0 -", "2 exit_code -", "3 signal -", "4 core_dump -",
                            "5 unknown -", "6 unknown -"));
}

TEST(Ends, TheLastSigkillOfALauncherIsAStop) {
    EXPECT_THAT(
        EndsOf({End(9, {}), End(0, {}), End(9, {}), End(9, {}), End(9, {}, "2")}),
        ElementsAre("1 signal -", "2 exit_0 -", "3 signal -", "4 stop -", "5 stop -"));
}

TEST(Ends, TheUptimeBeginsWithTheStartOrAfterThePause) {
    EXPECT_THAT(EndsOf({End(0, 1000), End(0, 2000), Start(2060), End(0, 3000),
                        End(0, 4000), End(0, 3999)}),
                ElementsAre("1 exit_0 -", "2 exit_0 950", "3 exit_0 940", "4 exit_0 950",
                            "5 exit_0 -"));
}

TEST(Ends, AfterALineOfAnotherProcessTheStartIsUnknown) {
    EXPECT_THAT(
        EndsOf({End(0, 1000), Start(1060), Start(1120, "7"), End(9, 2000), End(0, 3000)}),
        ElementsAre("1 exit_0 -", "2 signal -", "3 exit_0 950"))
        << "the second program was not executed, or another launcher has the item";
}

TEST(Ends, WithoutAProgramThereIsNoStart) {
    LogEvent const none = {LogEventKind::NoProgram, "a", "", 0, 0, 1055, "7"};
    EXPECT_THAT(EndsOf({End(0, 1000), none, End(0, 1060), Start(1110), End(0, 2000)}),
                ElementsAre("1 exit_0 -", "2 exit_0 -", "3 exit_0 890"));
}

TEST(Ends, ALaterLauncherWithTheSameProcessIdDoesNotTellWhenAProgramStarted) {
    LogEvent const failed = {LogEventKind::UnreadableList, "", "", 0, 0, 1500, "1"};
    EXPECT_THAT(EndsOf({End(0, 1000), failed, End(0, 3000), End(0, 4000)}),
                ElementsAre("1 exit_0 -", "2 exit_0 -", "3 exit_0 950"));
}

TEST(Ends, ALaterLauncherWithTheSameProcessIdShowsTheStopOfTheOneBefore) {
    LogEvent b = End(9, 1000);
    b.name = "b";
    EXPECT_THAT(EndsOf({End(0, 500), End(9, 1000), b, End(9, 9000), End(0, 9500)}),
                ElementsAre("1 exit_0 -", "2 stop 450", "4 signal -", "5 exit_0 450",
                            "3 stop -"));
}

TEST(Ends, AnotherLauncherDoesNotTellWhenAProgramStarted) {
    EXPECT_THAT(EndsOf({End(0, 1000), End(0, 2000, "2"), End(0, {}), End(0, 3000)}),
                ElementsAre("1 exit_0 -", "2 exit_0 -", "3 exit_0 -", "4 exit_0 -"));
}

}  // namespace
}  // namespace launchlog_report
