// launcher-status: says what launchers and the programs of their lists do.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/config/log.h"
#include "tools/common/tool.h"
#include "tools/launcher_status/report.h"
#include "tools/launchlog_report/follow.h"
#include "tools/launchlog_report/terminal.h"
#include "tools/running/family.h"
#include "tools/running/launcher_log.h"
#include "tools/running/survey.h"

// This program has no log of its own.
ILog* logger = nullptr;

namespace launcher_status {

namespace {

using running::Family;
using running::ItemStatus;
using running::LauncherLog;
using running::LauncherWithItems;
using running::Snapshot;
using running::State;

char const* const kProgram = "launcher-status";

char const* const kHelp =
    R"(launcher-status [--json] [--watch] [LIST.json]

Says what your launchers do, or those that run LIST.json: a line for each item of the list,
with the process that executes its program, since when, its CPU time and its memory, both
with all that it started and with launch-with. How often the program was started again and
how it last ended come from the log. "!" marks an item that does not run, "?" one whose
state cannot be told. Below are processes that launchers left behind when they died.

  --json     print one JSON document on one line, for machines
  --watch    print the report again whenever it changes, until Ctrl-C
  --help     print this
  --version  print the version

Exit code: 0 all items run, 1 some do not, 2 the command line is wrong, 3 there is no
launcher, 4 it cannot be told.

Examples:

  launcher-status
  launcher-status list.json
  launcher-status --watch list.json
  launcher-status --json | jq -r '.launchers[].items[] | select(.state != "running") | .name'

launcher-status(1) explains the states.
)";

// The launcher may not know new items, so their state is unknown.
void ForgetItemsWithoutProcess(running::LauncherStatus& status) {
    for (ItemStatus& item : status.items) {
        if (item.state == State::Waiting || item.state == State::NoProgram) {
            item.state = State::Unknown;
            --status.not_running;
        }
    }
}

// Makes reports, and remembers what it has read of the logs.
class Reporter {
  public:
    explicit Reporter(std::optional<std::string> named_list)
        : list(std::move(named_list)) {}

    Report Make() {
        Snapshot const snapshot = Snapshot::Take();
        std::vector<LauncherWithItems> const all =
            running::FindLaunchersWithItems(snapshot);
        Report report;
        std::vector<std::string> lists;
        if (list) {
            lists.push_back(*list);
        }
        for (LauncherWithItems const& launcher :
             list ? running::WithList(all, *list) : all) {
            report.launchers.push_back(ReportOn(snapshot, launcher));
            lists.push_back(launcher.launcher.list);
        }
        if (!list) {
            std::vector<std::string> const orphaned = running::ListsOfOrphans(snapshot);
            lists.insert(lists.end(), orphaned.begin(), orphaned.end());
        }
        AddLeftovers(snapshot, all, lists, report);
        return report;
    }

  private:
    LauncherReport ReportOn(Snapshot const& snapshot, LauncherWithItems const& it) {
        LauncherReport report;
        report.launcher = it.launcher;
        report.problem = it.list.problem;
        LauncherLog& log = LogOf(it.launcher);
        running::LogAnswers const answers = {
            [&log](std::string const& item) {
                auto const* const history = log.Find(item);
                return history != nullptr && history->IsGivenUp();
            },
            [&log](pid_t link) { return log.ItemOfLink(link); }};
        report.status = running::StatusOf(snapshot, it.launcher, it.list, answers);
        if (running::HasListChanged(it.launcher)) {
            report.note =
                "the list was changed since; the launcher runs what it held before";
            ForgetItemsWithoutProcess(report.status);
        }
        for (running::LaunchItem const& item : it.list.items) {
            if (auto const* const history = log.Find(item.name)) {
                auto const& end = history->LastStatus();
                // Each end of a program of a launcher that runs leads to a restart.
                report.logs[item.name] = {history->Ends(), end ? Describe(*end) : ""};
            }
        }
        return report;
    }

    LauncherLog& LogOf(running::Launcher const& launcher) {
        std::unique_ptr<LauncherLog>& log = logs[running::KeyOf(launcher.process)];
        if (log) {
            log->ReadOn();
        } else {
            log = std::make_unique<LauncherLog>(launcher);
        }
        return *log;
    }

    static void AddLeftovers(Snapshot const& snapshot,
                             std::vector<LauncherWithItems> const& launchers,
                             std::vector<std::string> const& lists, Report& report) {
        for (std::string const& path : lists) {
            auto const is_done = [&path](Leftovers const& it) {
                return running::IsSameList(it.list, path);
            };
            if (std::any_of(report.left.begin(), report.left.end(), is_done)) {
                continue;
            }
            running::LaunchItems const items = running::ReadLaunchItems(path);
            Family family(path, items, geteuid(), launchers);
            family.Follow(snapshot);
            std::vector<ProcessInfo const*> const members = family.MembersIn(snapshot);
            Leftovers left = {path, running::LeftBehind(snapshot, items, members), 0};
            left.links = static_cast<std::size_t>(std::count_if(
                members.begin(), members.end(),
                [](ProcessInfo const* it) { return running::IsFork(*it); }));
            if (!left.IsEmpty()) {
                report.left.push_back(left);
            }
        }
    }

    std::optional<std::string> const list;
    std::map<running::ProcessKey, std::unique_ptr<LauncherLog>> logs;
};

int Watch(Reporter& reporter, bool is_json) {
    bool const on_screen = !is_json && launchlog_report::IsOnTerminal();
    auto const make = [&](launchlog_report::Space const& space) {
        Report const report = reporter.Make();
        return is_json ? ToJson(report) : ToTable(report, space);
    };
    return launchlog_report::Follow(make, on_screen, is_json ? "" : "\n", kProgram) ? 0
                                                                                    : 4;
}

int Main(int argc, char** argv) {
    tools::CommandLine line = tools::ReadCommandLine(argc, argv, {{"json"}, {"watch"}});
    if (line.error.empty() && line.operands.size() > 1) {
        line.error = "it takes one launch list";
    }
    if (std::optional<int> const code = tools::AnswerForTool(line, kProgram, kHelp)) {
        return *code;
    }
    launchlog_report::SetCharacterWidths();
    Reporter reporter(line.operands.empty() ? std::nullopt
                                            : std::optional(line.operands[0]));
    if (line.Has("watch")) {
        return Watch(reporter, line.Has("json"));
    }
    Report const report = reporter.Make();
    tools::Write(line.Has("json") ? ToJson(report)
                                  : ToTable(report, launchlog_report::TerminalSize()));
    return tools::FinishOutput(kProgram) ? ExitCodeOf(report) : 4;
}

}  // namespace

}  // namespace launcher_status

int main(int argc, char** argv) {
    return launcher_status::Main(argc, argv);
}
