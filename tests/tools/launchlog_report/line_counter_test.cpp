#include "tools/launchlog_report/line_counter.h"

#include <gtest/gtest.h>

#include <vector>

#include "tools/launchlog_report/log_line.h"

namespace launchlog_report {
namespace {

// Returns the line of an end at a second of a minute.
std::string End(int second, int status, std::string const& name = "a") {
    std::string const seconds = std::to_string(second + 10);
    return "2026-11-21T11:53:" + seconds + "Z ERROR 1 [LAUNCHER  ] " + name + " " +
           seconds + " is killed. ret = 7, status = " + std::to_string(status);
}

// Lets a run of the program count these lines, and lines that come later. Returns what
// it leaves to the next run.
Carried Count(std::vector<std::string> const& lines, Carried before = {},
              std::vector<std::string> const& more = {}) {
    LineCounter counter(std::move(before), [](std::size_t) { return "/the/log"; });
    auto const take = [&counter](std::vector<std::string> const& all) {
        for (std::string const& line : all) {
            std::optional<LogEvent> const event = ParseLogLine(line);
            counter.TakeLine(line, event.has_value(), 0);
            if (event) {
                counter.TakeEvent(*event, 0);
            }
        }
    };
    take(lines);
    counter.FinishFirstRead();
    take(more);
    return counter.Result();
}

long long Ends(Carried const& carried, Cause cause = Cause::ExitZero) {
    return carried.totals.items.at("a").ends[static_cast<std::size_t>(cause)];
}

TEST(LineCounter, CountsEachLineOnceOverAllRuns) {
    Carried carried = Count({End(1, 0), "junk", End(2, 0)}, {}, {End(3, 0), "junk"});
    EXPECT_EQ(Ends(carried), 3);
    EXPECT_EQ(carried.totals.lines_not_understood, 2);
    carried = Count({End(2, 0), End(3, 0), "junk", End(4, 0), "junk"}, carried);
    EXPECT_EQ(Ends(carried), 4);
    EXPECT_EQ(carried.totals.lines_not_understood, 3);
    carried = Count({}, carried);
    EXPECT_EQ(Ends(Count({End(4, 0), "junk"}, carried)), 4);
}

TEST(LineCounter, WithoutTheLastLineCountsWhatIsLater) {
    Carried const carried = Count({End(1, 0), End(5, 0)});
    EXPECT_EQ(Ends(Count({End(1, 0), End(6, 0), End(7, 0)}, carried)), 4);
    EXPECT_EQ(Ends(Count({End(6, 0), End(7, 0)}, carried)), 4);
}

TEST(LineCounter, ALogThatAppearsLaterIsCountedWhole) {
    EXPECT_EQ(Ends(Count({}, {}, {End(2, 0), End(1, 0)})), 2);
}

TEST(LineCounter, ALogThatComesBackLaterIsCountedFromWhereItWas) {
    Carried const carried = Count({End(1, 0), End(2, 0)});
    EXPECT_EQ(Ends(Count({}, carried, {End(1, 0), "junk", End(2, 0)})), 2);
    // After a later line the clock may have been set back.
    EXPECT_EQ(Ends(Count({}, carried, {End(2, 0), End(3, 0), End(1, 0)})), 4);
}

TEST(LineCounter, AKillCountsAsARestartWithTheNextEnd) {
    Carried carried = Count({End(1, 0), End(2, 9)});
    EXPECT_EQ(Ends(carried, Cause::Signal), 1);
    EXPECT_EQ(Ends(carried, Cause::Stop), 0);
    EXPECT_EQ(carried.totals.items.at("a").restarts, 1);
    carried = Count({End(1, 0), End(2, 9)}, carried);
    EXPECT_EQ(carried.totals.items.at("a").restarts, 1);
    carried = Count({End(1, 0), End(2, 9), End(3, 0)}, carried);
    EXPECT_EQ(carried.totals.items.at("a").restarts, 3);
}

TEST(LineCounter, AStopIsNoRestartThoughTheProcessIdComesBack) {
    Carried const carried = Count({End(1, 0), End(2, 9), End(2, 9, "b"), End(5, 0)});
    EXPECT_EQ(carried.totals.items.at("a").restarts, 2);
    EXPECT_EQ(carried.totals.items.at("b").restarts, 0);
}

TEST(LineCounter, KeepsTheTimeOfTheLastEnd) {
    Carried const carried = Count({End(1, 0), End(2, 0)});
    EXPECT_EQ(Count({}, carried).totals.items.at("a").last_end,
              *ParseTime("2026-11-21T11:53:12Z"));
}

}  // namespace
}  // namespace launchlog_report
