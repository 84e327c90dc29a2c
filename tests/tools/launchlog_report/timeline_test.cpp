#include "tools/launchlog_report/timeline.h"

#include <gmock/gmock.h>

namespace launchlog_report {
namespace {

using testing::ElementsAre;

LogEvent End(long long status, Time time, std::string const& launcher = "1",
             std::string const& name = "a") {
    return {LogEventKind::End, name, "7", 7, status, time, launcher};
}

LogEvent Start(Time time, std::string const& launcher = "1") {
    return {LogEventKind::Start, "a", "", 0, 0, time, launcher};
}

// A timeline of these lines of one log.
struct Drawn {
    explicit Drawn(std::vector<LogEvent> const& events, TimeRange const& range = {})
        : timeline(range) {
        for (LogEvent const& event : events) {
            timeline.Add(event, 0);
        }
        timeline.Finish();
    }

    // Returns "start-first-last:ends" of each mark, with "?" for an unknown start.
    std::vector<std::string> MarksOf(std::string const& name = "a") const {
        std::vector<std::string> texts;
        for (Mark const& mark : timeline.Items().at(name).marks.List()) {
            texts.push_back((mark.start ? std::to_string(*mark.start) : "?") + "-" +
                            std::to_string(mark.first) + "-" + std::to_string(mark.last) +
                            ":" + std::to_string(mark.Ends()));
        }
        return texts;
    }

    // Returns "start-until" of the known run of each mark.
    std::vector<std::string> RunsOf(std::string const& name = "a") const {
        std::vector<std::string> texts;
        for (Mark const& mark : timeline.Items().at(name).marks.List()) {
            if (mark.start) {
                texts.push_back(std::to_string(*mark.start) + "-" +
                                std::to_string(mark.until));
            }
        }
        return texts;
    }

    // Returns "from-to" of each run that did not end.
    std::vector<std::string> OpenRuns(std::string const& name = "a") const {
        std::vector<std::string> texts;
        for (OpenRun const& run : timeline.Items().at(name).open_runs) {
            texts.push_back(std::to_string(run.from) + "-" + std::to_string(run.to));
        }
        return texts;
    }

    Timeline timeline;
};

TEST(Timeline, EachEndIsAMark) {
    Drawn const drawn({End(0, 1000), End(768, 1060), End(15, 1060)});
    EXPECT_THAT(drawn.MarksOf(),
                ElementsAre("?-1000-1000:1", "1050-1060-1060:1", "?-1060-1060:1"));
    EXPECT_THAT(drawn.timeline.Items().at("a").causes, ElementsAre(1, 1, 1, 0, 0, 0));
}

TEST(Timeline, EndsThatAreCloseBecomeOneMarkAndNoneIsLost) {
    std::vector<LogEvent> events;
    for (int i = 0; i < 10000; ++i) {
        events.push_back(End(i % 2 == 0 ? 0 : 768, 100'000 + i * 60));
    }
    events.push_back(End(139, 10'000'000));
    Drawn drawn(events);
    std::vector<Mark> const& marks = drawn.timeline.Items().at("a").marks.List();
    EXPECT_LE(marks.size(), 2000U);
    EXPECT_GT(marks.size(), 900U);
    CauseCounts sums = {};
    for (Mark const& mark : marks) {
        for (std::size_t i = 0; i < kCauses; ++i) {
            sums[i] += mark.causes[i];
        }
    }
    EXPECT_THAT(sums, ElementsAre(5000, 5000, 0, 1, 0, 0));
    EXPECT_EQ(marks.front().first, 100'000);
    EXPECT_EQ(marks.back().status, "killed by SIGSEGV, core dumped");
    EXPECT_EQ(marks.front().status, "");

    drawn.timeline.Limit(10);
    EXPECT_LE(drawn.MarksOf().size(), 10U);
    EXPECT_EQ(drawn.timeline.Items().at("a").causes[0], 5000);
}

TEST(Timeline, ALimitLeavesEndsAloneThatAreFarFromOthers) {
    Drawn drawn({End(0, 1000), End(0, 1001), End(0, 1002), End(0, 900'000)});
    drawn.timeline.Limit(2);
    EXPECT_THAT(drawn.MarksOf(), ElementsAre("?-1000-1002:3", "1052-900000-900000:1"));
}

TEST(Timeline, AClockThatIsSetBackChangesOnlyTheOrder) {
    Drawn drawn({End(0, 5000), End(0, 2000), End(0, 5001)});
    drawn.timeline.Limit(2);
    EXPECT_THAT(drawn.MarksOf(), ElementsAre("?-2000-2000:1", "2050-5000-5001:2"));
}

TEST(Timeline, AProgramRunsUntilTheLastLineOfItsLauncher) {
    Drawn const drawn({End(0, 1000), End(0, 1000, "1", "stopped"), End(0, 4000, "1", "b"),
                       End(9, 5000, "1", "stopped"), End(0, 5200, "1", "c"),
                       End(0, 6000, "2")});
    EXPECT_THAT(drawn.OpenRuns(), ElementsAre("1050-5200"));
    EXPECT_THAT(drawn.OpenRuns("b"), ElementsAre("4050-5200"));
    EXPECT_THAT(drawn.OpenRuns("stopped"), ElementsAre());
}

TEST(Timeline, TheRunOfAMergedMarkCrossesPausesOfItsLauncherAlone) {
    Drawn pauses({End(0, 1000), End(0, 2000), End(0, 3000)});
    pauses.timeline.Limit(1);
    EXPECT_THAT(pauses.RunsOf(), ElementsAre("1050-3000"));

    Drawn stop({End(0, 1000), End(9, 5000), Start(5100, "2"), End(0, 6000, "2"),
                End(0, 7000, "2")});
    stop.timeline.Limit(1);
    EXPECT_THAT(stop.RunsOf(), ElementsAre("1050-5000")) << "the longest of two";

    Drawn sleep({Start(1000), End(0, 1100), Start(2101), End(0, 3000)});
    sleep.timeline.Limit(1);
    EXPECT_THAT(sleep.RunsOf(), ElementsAre("2101-3000"));
}

TEST(Timeline, AProcessIdThatIsUsedAgainIsAnotherLauncher) {
    Drawn const drawn({End(0, 1000), End(0, 1000, "1", "b"), End(9, 3000),
                       End(9, 3100, "1", "b"), End(0, 800'000), End(0, 800'000, "1", "b"),
                       End(0, 900'000)});
    EXPECT_THAT(drawn.RunsOf(), ElementsAre("1050-3000", "800050-900000"));
    std::vector<LauncherLife> const& launchers = drawn.timeline.Launchers();
    ASSERT_EQ(launchers.size(), 2U);
    EXPECT_EQ(launchers[0].last, 3100);
    EXPECT_EQ(launchers[1].first, 800'000);
    EXPECT_TRUE(launchers[0].is_stopped);
    EXPECT_FALSE(launchers[1].is_stopped);
    CauseCounts causes = {};
    causes[static_cast<std::size_t>(Cause::ExitZero)] = 3;
    causes[static_cast<std::size_t>(Cause::Stop)] = 1;
    EXPECT_EQ(drawn.timeline.Items().at("a").causes, causes);
}

TEST(Timeline, AProgramThatWasStartedAndDidNotEndRuns) {
    Drawn const drawn({Start(500), End(0, 1000, "1", "b")});
    EXPECT_THAT(drawn.OpenRuns(), ElementsAre("500-1000"));
    // The launcher is dead, and another one starts the program.
    Drawn const again({Start(500), End(0, 1000, "1", "b"), Start(2000, "2")});
    EXPECT_THAT(again.OpenRuns(), ElementsAre("500-1000"));
}

TEST(Timeline, TheProgramOfAChainDoesNotRun) {
    Drawn const drawn(
        {Start(500), Start(560, "77"), Start(620, "78"), End(0, 1000, "1", "b")});
    EXPECT_EQ(drawn.timeline.Items().count("a"), 0U);
}

TEST(Timeline, AFailedForkEndsTheRuns) {
    LogEvent const failed = {LogEventKind::FailedFork, "a", "", 0, 0, 1050, "1"};
    Drawn const drawn({End(0, 1000), failed, End(0, 4000, "1", "b")});
    EXPECT_THAT(drawn.OpenRuns(), ElementsAre());
}

TEST(Timeline, ALauncherLivesFromItsFirstToItsLastLine) {
    LogEvent const start = {LogEventKind::Start, "a", "", 0, 0, 500, "1"};
    LogEvent const link = {LogEventKind::Start, "a", "", 0, 0, 600, "77"};
    Drawn const drawn({start, link, End(0, 1000), End(9, 2000), End(0, 8000, "2")});
    std::vector<LauncherLife> const& launchers = drawn.timeline.Launchers();
    ASSERT_EQ(launchers.size(), 2U) << "a link of a chain is no launcher";
    EXPECT_EQ(launchers[0].process, "1");
    EXPECT_EQ(launchers[0].first, 500);
    EXPECT_EQ(launchers[0].last, 2000);
    EXPECT_TRUE(launchers[0].is_stopped);
    EXPECT_FALSE(launchers[1].is_stopped);
    EXPECT_EQ(drawn.timeline.FirstLine(), 500);
    EXPECT_EQ(drawn.timeline.LastLine(), 8000);
}

TEST(Timeline, HasOnlyWhatBelongsToTheRange) {
    Drawn const drawn({End(0, 1000), End(0, 2000), End(0, 3000)}, {2000, 2999});
    EXPECT_THAT(drawn.MarksOf(), ElementsAre("1050-2000-2000:1"));
    EXPECT_EQ(drawn.timeline.FirstLine(), 2000);
    EXPECT_EQ(drawn.timeline.LastLine(), 2000);
}

}  // namespace
}  // namespace launchlog_report
