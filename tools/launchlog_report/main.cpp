// launchlog-report: says what restarts, how often and why, from the log of a launcher.

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/config/app_locations.h"
#include "common/config/log.h"
#include "tools/common/printable.h"
#include "tools/common/tool.h"
#include "tools/launchlog_report/ends.h"
#include "tools/launchlog_report/follow.h"
#include "tools/launchlog_report/json.h"
#include "tools/launchlog_report/log_files.h"
#include "tools/launchlog_report/logs.h"
#include "tools/launchlog_report/metrics_output.h"
#include "tools/launchlog_report/options.h"
#include "tools/launchlog_report/order.h"
#include "tools/launchlog_report/output_file.h"
#include "tools/launchlog_report/page.h"
#include "tools/launchlog_report/summary.h"
#include "tools/launchlog_report/table.h"
#include "tools/launchlog_report/terminal.h"
#include "tools/launchlog_report/timeline.h"
#include "tools/running/launch_items.h"

// This program has no log of its own.
ILog* logger = nullptr;

namespace launchlog_report {
namespace {

char const* const kProgram = "launchlog-report";
// So many marks make a page of about 2 MB.
constexpr std::size_t kMostMarks = 40'000;

void PrintProblem(std::string const& problem) {
    std::fprintf(stderr, "%s: %s\n", kProgram, tools::Printable(problem).c_str());
}

Time CurrentTime(Options const& options) {
    Time const now = options.now ? *options.now : Now();
    return std::min(now, options.range.until.value_or(now));
}

Report MakeReport(Options const& options, Summary& summary, Logs const& logs) {
    Report report = summary.At(CurrentTime(options));
    report.cut_lines = logs.CutLines();
    Sort(report.items,
         options.sort.value_or(options.json ? SortKey::Name : SortKey::Marked));
    return report;
}

bool FollowLogs(Options const& options, Summary& summary, Logs& logs) {
    bool const on_screen = !options.json && IsOnTerminal();
    auto const make = [&](Space const& space) {
        logs.ReadOn();
        Report report = MakeReport(options, summary, logs);
        if (on_screen) {
            // Messages on the standard error may not be on the screen any more.
            report.problems = logs.Problems();
        }
        for (std::string const& missing : logs.MissingLogs()) {
            report.problems.push_back(missing);
        }
        return options.json ? ToJson(report) : ToTable(report, space);
    };
    return Follow(make, on_screen, options.json ? "" : "\n", kProgram);
}

bool HasMarkedItem(Report const& report) {
    return std::any_of(report.items.begin(), report.items.end(),
                       [](Row const& row) { return row.IsMarked(); });
}

// Returns whether the report is empty because something could not be read.
bool IsUnreadable(Report const& report, Logs const& logs) {
    return report.items.empty() && report.launchers.empty() && !logs.Problems().empty();
}

// Collects the ends of the range.
class EndList {
  public:
    explicit EndList(TimeRange const& covered)
        : range(covered), ends([this](ProgramRunEnd const& end) {
              if (range.Has(end.time)) {
                  list.push_back(end);
              }
          }) {}

    void Add(LogEvent const& event, std::size_t log) {
        if (range.IsNotAfter(event)) {
            ends.Add(event, log);
        }
    }

    // Prints them in the order of their lines.
    void Print() {
        ends.Finish();
        std::sort(list.begin(), list.end(),
                  [](ProgramRunEnd const& a, ProgramRunEnd const& b) {
                      return a.number < b.number;
                  });
        for (ProgramRunEnd const& end : list) {
            tools::Write(ToJson(end));
        }
    }

  private:
    TimeRange range;
    Ends ends;
    std::vector<ProgramRunEnd> list;
};

// What is collected while the logs are read, for the form that was asked for.
struct Collected {
    explicit Collected(Options const& options)
        : summary(CurrentTime(options), options.range),
          ends(options.range),
          timeline(options.range) {}

    Summary summary;
    EndList ends;
    Timeline timeline;
};

// Returns the rows with those of the programs that never ended: the items of the list,
// and what the log shows running.
std::vector<Row> WithProgramsThatNeverEnded(std::vector<Row> rows,
                                            Timeline const& timeline,
                                            running::LaunchItems const& list) {
    std::set<std::string> names;
    for (auto const& [name, item] : timeline.Items()) {
        names.insert(name);
    }
    for (running::LaunchItem const& item : list.items) {
        names.insert(item.name);
    }
    for (Row const& row : rows) {
        names.erase(row.name);
    }
    for (std::string const& name : names) {
        Row row;
        row.name = name;
        row.restarts_per_minute = 0;
        rows.push_back(row);
    }
    return rows;
}

// Writes the page to its file. Returns whether it could.
bool WritePage(Report report, Timeline& timeline, Logs const& logs,
               Options const& options, running::LaunchItems const& list) {
    timeline.Finish();
    timeline.Limit(kMostMarks);
    report.items = WithProgramsThatNeverEnded(std::move(report.items), timeline, list);
    Sort(report.items, options.sort.value_or(SortKey::Marked));
    std::string const problem =
        ReplaceFile(options.html, ToPage(report, timeline, logs.Paths()));
    if (!problem.empty()) {
        PrintProblem(options.html + ": " + problem);
    }
    return problem.empty();
}

// Prints or writes what was asked for. Returns whether it could.
bool Output(Report const& report, Collected& collected, Logs const& logs,
            Options const& options, running::LaunchItems const& list) {
    if (!options.html.empty()) {
        // A good page stays.
        return !IsUnreadable(report, logs) &&
               WritePage(report, collected.timeline, logs, options, list);
    }
    if (options.ends) {
        collected.ends.Print();
    } else if (options.json) {
        tools::Write(ToJson(report));
    } else if (!IsUnreadable(report, logs)) {
        tools::Write(ToTable(report, {TerminalSize().columns, std::nullopt}));
    }
    return tools::FinishOutput(kProgram);
}

// Reads the logs and prints the report. Returns the exit code.
int ReportOn(std::vector<std::string> const& paths, Options const& options,
             running::LaunchItems const& list) {
    Collected collected(options);
    Logs logs([&](LogEvent const& event, std::size_t log) {
        collected.summary.Add(event, log);
        if (options.ends) {
            collected.ends.Add(event, log);
        } else if (!options.html.empty()) {
            collected.timeline.Add(event, log);
        }
    });
    logs.Read(paths, options.follow);
    for (std::string const& problem : logs.Problems()) {
        PrintProblem(problem);
    }
    if (options.follow) {
        bool const is_shown = FollowLogs(options, collected.summary, logs);
        return is_shown && logs.Problems().empty() ? 0 : 1;
    }
    Report const report = MakeReport(options, collected.summary, logs);
    if (!Output(report, collected, logs, options, list)) {
        return 1;
    }
    int const code = logs.Problems().empty() ? 0 : 1;
    return options.fail_if_marked && HasMarkedItem(report) ? 3 : code;
}

int Main(int argc, char** argv) {
    Options const options = ReadOptions(argc, argv);
    std::optional<int> const code =
        tools::AnswerForTool(options.line, kProgram, HelpText());
    if (code) {
        return *code;
    }
    running::LaunchItems const list = options.list.empty()
                                          ? running::LaunchItems()
                                          : running::ReadLaunchItems(options.list);
    if (!list.problem.empty()) {
        PrintProblem(options.list + ": " + list.problem);
        return 1;
    }
    std::vector<std::string> const paths =
        options.logs.empty() ? FindLogs(GetHomePath()) : options.logs;
    if (paths.empty() && options.metrics.empty()) {
        PrintProblem("there is no launcher log in " + GetHomePath() +
                     "/Library/Logs; name one");
        return 1;
    }
    if (!options.metrics.empty()) {
        return WriteMetrics(paths, options, PrintProblem);
    }
    SetCharacterWidths();
    return ReportOn(paths, options, list);
}

}  // namespace
}  // namespace launchlog_report

int main(int argc, char** argv) {
    return launchlog_report::Main(argc, argv);
}
