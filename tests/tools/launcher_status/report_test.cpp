#include "tools/launcher_status/report.h"

#include <gmock/gmock.h>

#include "tests/tools/running/processes.h"

namespace launcher_status {
namespace {

using running::ItemStatus;
using running::State;
using testing::HasSubstr;
using testing::Not;

ItemStatus MakeStatus(std::string const& name, State state, pid_t id = 0) {
    ItemStatus status;
    status.item.name = name;
    status.state = state;
    status.process.id = id;
    status.process.start_time = 1795262018837;
    return status;
}

Report ReportOf(std::vector<ItemStatus> const& items, std::size_t not_running) {
    LauncherReport launcher;
    launcher.launcher = MakeLauncher();
    launcher.status = {items, not_running};
    return {{launcher}, {}};
}

TEST(ExitCodeOf, IsTheWorstThatIsCertain) {
    ItemStatus const runs = MakeStatus("a", State::Running, 7);
    ItemStatus const unknown = MakeStatus("b", State::Unknown);
    EXPECT_EQ(ExitCodeOf(ReportOf({runs}, 0)), 0);
    EXPECT_EQ(ExitCodeOf(ReportOf({runs, unknown}, 1)), 1);
    EXPECT_EQ(ExitCodeOf(ReportOf({runs, unknown}, 0)), 4);
    EXPECT_EQ(ExitCodeOf({}), 3);
    Report report = ReportOf({runs}, 0);
    report.launchers[0].problem = "the list cannot be read";
    EXPECT_EQ(ExitCodeOf(report), 4);
    report.launchers.push_back(ReportOf({runs}, 1).launchers[0]);
    EXPECT_EQ(ExitCodeOf(report), 1);
}

TEST(ToTable, MarksWhatDoesNotRunAndWhatIsUnknown) {
    ItemStatus steady = MakeStatus("steady", State::Running, 7);
    steady.cpu_time = 61'230;
    steady.memory = 3 << 20U;
    ItemStatus chain = MakeStatus("late\n", State::Chain);
    chain.links = 12;
    chain.cpu_time = 50;
    chain.memory = 4096;
    Report report = ReportOf({steady, chain, MakeStatus("", State::Unknown)}, 1);
    report.launchers[0].logs["steady"] = {3, "exit 1"};
    EXPECT_EQ(ToTable(report, {}),
              "launcher 100 (main), list /list.json, since 1970-01-01T00:00:00Z\n"
              "  ITEM      STATE                       PID  SINCE                    CPU "
              "  MEMORY"
              "  RESTARTS  LAST END\n"
              "  steady    running                     7    2026-11-21T11:53:38Z    1:01 "
              " 3.0 MiB"
              "         3  exit 1\n"
              "! late\\x0A  in a chain of 12 processes  -    -                     0.05 "
              "s    4 KiB"
              "         0  -\n"
              "? \"\"        cannot tell                 -    -                          "
              "-        -"
              "         0  -\n");
}

TEST(ToTable, ExplainsATildeAndTellsProblems) {
    ItemStatus status = MakeStatus("a", State::Running, 7);
    EXPECT_THAT(ToTable(ReportOf({status}, 0), {}), Not(HasSubstr("~")));
    status.is_certain = false;
    Report report = ReportOf({status}, 0);
    report.launchers[0].problem = "first";
    report.launchers[0].note = "second";
    report.launchers[0].launcher.process.is_stopped = true;
    std::string const text = ToTable(report, {});
    EXPECT_THAT(text, HasSubstr("\nit is suspended: "));
    EXPECT_THAT(text, HasSubstr("\nfirst\nsecond\n  ITEM"));
    EXPECT_THAT(text, HasSubstr("  ~7 "));
    EXPECT_THAT(text, HasSubstr("\n~ perhaps the process of another item with \"~\"\n"));
}

TEST(ToTable, ShowsWhatWasLeftAndCutsLines) {
    Report report;
    report.left.push_back({"/list.json", {MakeStatus("a", State::LeftBehind, 7)}, 4});
    std::string const text = ToTable(report, {});
    EXPECT_THAT(text,
                HasSubstr("no launcher is running\n\nleft behind by a launcher that "
                          "died, list /list.json\n"));
    EXPECT_THAT(text, HasSubstr("\n! a     left behind  7 "));
    EXPECT_THAT(text, HasSubstr("\n! 4 processes of chains\n"));
    EXPECT_THAT(ToTable(report, {std::size_t(10), {}}),
                HasSubstr("no launch\xE2\x80\xA6\n\nleft behi\xE2\x80\xA6\n"));
}

TEST(ToJson, HasAllOfIt) {
    Report report = ReportOf({MakeStatus("caf\xE9", State::Running, 7)}, 0);
    report.left.push_back({"/list.json", {MakeStatus("b", State::LeftBehind, 8)}, 4});
    EXPECT_EQ(
        ToJson(report),
        R"({"launchers":[{"items":[{"chain_processes":0,"cpu_milliseconds":0,)"
        R"("last_end":null,"memory_bytes":0,"name":"caf\ufffd","pid":7,)"
        R"("pid_certain":true,"restarts":0,"since":"2026-11-21T11:53:38Z",)"
        R"("state":"running"}],"list":"/list.json","name":"main","not_running":0,)"
        R"("note":null,"pid":100,"problem":null,"since":"1970-01-01T00:00:00Z",)"
        R"("suspended":false}],"left_behind":[{"chain_processes":4,"items":[{)"
        R"("chain_processes":0,"cpu_milliseconds":0,"last_end":null,"memory_bytes":0,)"
        R"("name":"b","pid":8,"pid_certain":true,"restarts":0,)"
        R"("since":"2026-11-21T11:53:38Z","state":"left_behind"}],"list":"/list.json"}]})"
        "\n");
}

}  // namespace
}  // namespace launcher_status
