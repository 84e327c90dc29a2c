#include "tools/launchlog_report/table.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <clocale>

#include "harness/files.h"
#include "tests/tools/launchlog_report/noon.h"
#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

Row Item(std::string const& name, std::string const& mark = "") {
    Row row;
    row.name = name;
    row.ends = 1;
    row.restarts = 1;
    row.restarts_per_minute = mark == "often" ? 11 : 1;
    row.given_up = mark == "given up";
    row.first_end = kNoon - 1000;
    row.last_end = kNoon;
    row.last_status = DecodeWaitStatus(768);
    return row;
}

Report ReportWith(std::vector<Row> const& items) {
    Report report;
    report.now = kNoon;
    report.items = items;
    return report;
}

std::vector<std::string> TableOf(Report const& report, Space const& space) {
    return Lines(ToTable(report, space));
}

TEST(Table, TakesTheRoomItNeedsIfThereIsNoLimit) {
    EXPECT_EQ(ToTable(ReportWith({Item("a")})),
              "  NAME  RESTARTS  PER MINUTE  FIRST END             LAST END              "
              "LAST STATUS\n"
              "  a            1           1  2026-11-21T11:59:59Z  2026-11-21T12:00:00Z  "
              "exit 3\n");
    EXPECT_EQ(ToTable(ReportWith({})), "no program has ended\n");
}

TEST(Table, TimesGetShorterAndColumnsAreLeftOutInANarrowSpace) {
    Report const report = ReportWith({Item("a")});
    EXPECT_THAT(
        TableOf(report, {84, {}}),
        ElementsAre(
            "  NAME  RESTARTS  PER MINUTE  FIRST END       LAST END        LAST STATUS",
            "  a            1           1  11-21 11:59:59  11-21 12:00:00  exit 3"));
    EXPECT_THAT(TableOf(report, {60, {}}),
                ElementsAre("  NAME  RESTARTS  /MIN  FIRST     LAST      STATUS",
                            "  a            1     1  11:59:59  12:00:00  exit 3"));
    EXPECT_THAT(TableOf(report, {45, {}}),
                ElementsAre("  NAME  RESTARTS  /MIN  LAST      STATUS",
                            "  a            1     1  12:00:00  exit 3"));
    EXPECT_THAT(TableOf(report, {35, {}}), ElementsAre("  NAME  RESTARTS  /MIN  STATUS",
                                                       "  a            1     1  exit 3"));
    EXPECT_THAT(TableOf(report, {22, {}}),
                ElementsAre("  NAME  /MIN  STATUS", "  a        1  exit 3"));
    EXPECT_THAT(TableOf(report, {14, {}}),
                ElementsAre("  NAME  STATUS", "  a     exit 3"));
}

TEST(Table, TheShortestTimeIsADateIfItIsADayAway) {
    Report report = ReportWith({Item("a")});
    report.now = kNoon + 24LL * 60 * 60 * 1000 - 1;
    EXPECT_THAT(TableOf(report, {45, {}}).at(1), HasSubstr("  12:00:00  "));
    report.now = kNoon + 24LL * 60 * 60 * 1000;
    EXPECT_THAT(TableOf(report, {45, {}}).at(1), HasSubstr("  11-21  "));
    report.now = kNoon - 24LL * 60 * 60 * 1000;
    EXPECT_THAT(TableOf(report, {45, {}}).at(1), HasSubstr("  11-21  "));
}

TEST(Table, NamesAndStatesAreCutWithAnEllipsis) {
    Report const report =
        ReportWith({Item("a name of thirty characters ab", "given up")});
    std::vector<std::string> const lines = TableOf(report, {40, {}});
    EXPECT_EQ(lines.at(0), "  NAME      RESTARTS  /MIN  STATUS");
    EXPECT_EQ(lines.at(1),
              "! a name \xE2\x80\xA6         1     1  given up: f\xE2\x80\xA6");
    EXPECT_EQ(tools::CountColumns(lines.at(1)), 40U);
}

// Whatever the size of the space, the table is neither wider nor higher.
TEST(Table, FitsEverySpace) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::vector<Row> items;
    for (int i = 0; i < 30; ++i) {
        items.push_back(Item("item" + std::to_string(i), i < 2 ? "often" : ""));
    }
    items.push_back(Item(std::string(1000, 'x')));
    items.push_back(
        Item("\xE4\xB8\xAD\xE6\x96\x87\xE4\xB8\xAD\xE6\x96\x87\xE4\xB8\xAD", "given up"));
    Report report = ReportWith(items);
    report.launchers.push_back({"181", kNoon, kNoon, 2, true});
    report.problems.emplace_back("a problem that is quite long, so that it needs a cut");
    report.cut_lines = 1;
    for (std::size_t columns = 1; columns <= 140; ++columns) {
        for (std::size_t lines : {1, 2, 4, 5, 24, 50}) {
            std::vector<std::string> const table = TableOf(report, {columns, lines});
            EXPECT_LE(table.size(), lines);
            EXPECT_THAT(table.at(0), StartsWith(std::string("  NAME").substr(
                                         0, std::min<std::size_t>(columns - 1, 6))));
            for (std::string const& line : table) {
                EXPECT_LE(tools::CountColumns(line), columns) << line;
            }
        }
    }
}

TEST(Table, InFewLinesMarkedItemsStayAndTheRestIsCounted) {
    Report report =
        ReportWith({Item("a"), Item("b"), Item("c", "often"), Item("d"), Item("e")});
    report.launchers.push_back({"181", kNoon, kNoon, 1, false});
    auto const names = [&report](std::size_t lines) {
        std::vector<std::string> found;
        for (std::string const& line : TableOf(report, {80, lines})) {
            found.push_back(line.substr(0, line.find(' ', 3)));
        }
        return found;
    };
    std::string const legend = "! more";
    EXPECT_THAT(names(8), ElementsAre("  NAME", "  a", "  b", "! c", "  d", "  e",
                                      "launcher", legend));
    EXPECT_THAT(names(7),
                ElementsAre("  NAME", "  a", "  b", "! c", "  and", "launcher", legend));
    EXPECT_THAT(names(5), ElementsAre("  NAME", "! c", "  and", "launcher", legend));
    EXPECT_THAT(names(4), ElementsAre("  NAME", "! c", "  and", "launcher"));
    EXPECT_THAT(names(3), ElementsAre("  NAME", "! c", "  and"));
    EXPECT_THAT(names(2), ElementsAre("  NAME", "  and"));
    EXPECT_THAT(names(1), ElementsAre("  NAME"));
    EXPECT_EQ(TableOf(report, {80, 3}).at(2), "  and 4 more items");
    EXPECT_EQ(TableOf(report, {80, 2}).at(1), "  and 5 more items, 1 marked");
}

TEST(Table, AnEndlessNameWidensNoOtherLine) {
    std::string const table =
        ToTable(ReportWith({Item(std::string(1'000'000, 'x')), Item("b")}));
    EXPECT_EQ(Lines(table).at(0).substr(0, 70),
              "  NAME" + std::string(54, ' ') + "  RESTARTS");
    EXPECT_LT(Lines(table).at(2).size(), 150U);
    EXPECT_THAT(Lines(table).at(1), StartsWith("  " + std::string(1'000'000, 'x') +
                                               "         1           1  2026"));
}

// Returns the most memory that this process has had so far, in KiB.
long MostMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// No line is padded to the width of the name: 1,500 of them would take 1.5 GB.
TEST(Table, AnEndlessNameTakesItsMemoryOnceInATinySpace) {
    std::vector<Row> items(1500, Item("b"));
    items.push_back(Item(std::string(999'000, 'x')));
    Report const report = ReportWith(items);
    long const before = MostMemory();
    EXPECT_EQ(TableOf(report, {11, {}}).size(), 1502U);
    EXPECT_LT(MostMemory() - before, 500'000);
}

TEST(Table, AnEmptyNameIsAPairOfQuotationMarks) {
    EXPECT_THAT(TableOf(ReportWith({Item("")}), {}).at(1),
                StartsWith("  \"\"           1 "));
    EXPECT_THAT(TableOf(ReportWith({Item("", "often")}), {}).at(1),
                StartsWith("! \"\" "));
}

TEST(Table, TellsWhatLaunchersSaidAboutThemselves) {
    Report report = ReportWith({});
    report.launchers = {{"181", kNoon, kNoon, 1, false},
                        {"", {}, {}, 2, true},
                        {"183", kNoon, kNoon + 1000, 0, true}};
    EXPECT_THAT(
        TableOf(report, {}),
        ElementsAre(
            "no program has ended",
            "launcher 181: There is an item has no name. 2026-11-21T12:00:00Z",
            "a launcher: There is an item has no name. (2 times) Error while parsing "
            "saved json string.",
            "launcher 183: Error while parsing saved json string. 2026-11-21T12:00:01Z"));
    report.launchers.assign(8, {"7", {}, {}, 0, true});
    EXPECT_EQ(TableOf(report, {}).size(), 7U);
    EXPECT_EQ(TableOf(report, {}).back(), "and 3 more launchers before");
}

TEST(Table, SaysWhyItemsAreMarkedAndWhatIsMissing) {
    EXPECT_EQ(TableOf(ReportWith({Item("a", "often")}), {}).back(),
              "! more than ten restarts in the last minute");
    EXPECT_EQ(TableOf(ReportWith({Item("a", "given up")}), {}).back(),
              "! a state that needs you");
    EXPECT_EQ(TableOf(ReportWith({Item("a", "often"), Item("b", "given up")}), {}).back(),
              "! more than ten restarts in the last minute, or a state that needs you");
    Report report = ReportWith({Item("a")});
    report.problems.emplace_back("a.log:\tno");
    report.cut_lines = 2;
    EXPECT_EQ(TableOf(report, {}).at(2), "a.log:\\x09no");
    EXPECT_EQ(TableOf(report, {}).at(3), "2 lines longer than 1,000,000 bytes left out");
}

}  // namespace
}  // namespace launchlog_report
