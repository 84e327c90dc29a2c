#include "tools/launchlog_report/options.h"

#include <algorithm>

namespace launchlog_report {
namespace {

char const* const kHelp = R"(launchlog-report [OPTION...] [LOG...]

Reads launcher logs and their rotated files, compressed ones too. Prints a line for each
item: how often its program was started again, in all and in the last minute, when it
first and last ended, and how it last ended. "!" marks an item with more than ten restarts
in the last minute, or in a state that needs you: a chain of processes, given up, no
program. Marked items come first. Below the table are messages of launchers about
themselves. Without a LOG it reads the user's own, ~/Library/Logs/*/voplog/launcher.log;
"-" is the standard input.

  --follow          print the report again whenever it changes, until Ctrl-C
  --since TIME      count only what happened at this time or later
  --until TIME      count only what happened at this time or earlier
  --json            print one JSON document on one line instead of a table, for machines
  --ends            print each end as a JSON object on a line of its own
  --html FILE       write a page for a browser, with a timeline of all programs
  --metrics FILE    write metrics for Prometheus; with --follow, again and again
  --list LIST.json  with --html or --metrics: the items of this list, those that never
                    ended too
  --sort KEY        sort items by marked (the default of a table), name (the default of
                    JSON), restarts, per-minute, first-end or last-end
  --fail-if-marked  exit with 3 if an item is marked, for monitoring
  --now TIME        use TIME as the current time, like 2026-11-21T12:00:00Z, for old logs
  --help            print this
  --version         print the version

The TIME of --since and --until is like "2026-11-21 12:00", "12:00", "yesterday",
"2 hours ago" or "-2h".

Exit status: 0 if all was read, 1 if not, 2 if the command line is wrong, 3 if an item is
marked and --fail-if-marked was given.

Examples:

  launchlog-report
  launchlog-report --follow
  launchlog-report --now 2026-11-21T12:00:00Z old/launcher.log
  launchlog-report --html report.html
  launchlog-report --metrics launcher.prom
  launchlog-report --since yesterday --until today
  launchlog-report --ends --since -2h | jq -r '[.time, .name, .status_text] | @tsv'
  launchlog-report --json | jq -r '.items[] | select(.restarts_often) | .name'

A table looks like this:

    NAME    RESTARTS  PER MINUTE  FIRST END             LAST END              LAST STATUS
  ! ticker        25          25  2026-11-21T11:52:48Z  2026-11-21T11:53:38Z  exit 3
    steady         0           0  2026-11-21T11:53:39Z  2026-11-21T11:53:39Z  killed by SIGKILL
  ! more than ten restarts in the last minute
)";

// Reads the values of --sort and --now. Returns what is wrong with them, in words; an
// empty string if they are right.
std::string ReadValues(Options& options) {
    tools::CommandLine const& line = options.line;
    if (line.Has("sort")) {
        options.sort = ParseSortKey(line.options.at("sort"));
        if (!options.sort) {
            return "--sort takes marked, name, restarts, per-minute, first-end or "
                   "last-end";
        }
    }
    if (line.Has("now")) {
        options.now = ParseTime(line.options.at("now"));
        if (!options.now) {
            return "--now takes a time like 2026-11-21T12:00:00Z";
        }
    }
    return "";
}

// Reads the value of --since or --until. Returns what is wrong with it.
std::string ReadWhen(tools::CommandLine const& line, std::string const& option, Time now,
                     std::optional<Time>& time) {
    if (!line.Has(option)) {
        return "";
    }
    time = ParseWhen(line.options.at(option), now);
    return time ? ""
                : "--" + option +
                      " takes a time like \"2026-11-21 12:00\", yesterday or \"2 hours "
                      "ago\"";
}

std::string ReadRange(Options& options) {
    TimeRange& range = options.range;
    Time const now = options.now.value_or(Now());
    std::string error = ReadWhen(options.line, "since", now, range.since);
    if (error.empty()) {
        error = ReadWhen(options.line, "until", now, range.until);
    }
    if (error.empty() && range.since && range.until && *range.since > *range.until) {
        error = "--since is later than --until";
    }
    return error;
}

std::string FindConflictOfMetrics(Options const& options) {
    tools::CommandLine const& line = options.line;
    if (line.Has("list") && !line.Has("metrics") && !line.Has("html")) {
        return "--list needs --html or --metrics";
    }
    if (!line.Has("metrics")) {
        return "";
    }
    if (options.metrics.empty()) {
        return "--metrics needs a file";
    }
    if (options.list == "-" ||
        std::count(options.logs.begin(), options.logs.end(), "-") > 0) {
        return "--metrics is for files, not for the standard input";
    }
    for (char const* const other :
         {"json", "ends", "html", "since", "until", "now", "sort", "fail-if-marked"}) {
        if (line.Has(other)) {
            return std::string("--metrics cannot be combined with --") + other;
        }
    }
    return "";
}

// Returns which options cannot be combined, in words; an empty string if all can.
std::string FindConflict(Options const& options) {
    if (options.line.Has("html") && options.html.empty()) {
        return "--html needs a file";
    }
    if (options.line.Has("html") && (options.json || options.ends)) {
        return "--html cannot be combined with --json or --ends";
    }
    std::string problem = FindConflictOfMetrics(options);
    if (!options.follow || !problem.empty()) {
        return problem;
    }
    if (std::count(options.logs.begin(), options.logs.end(), "-") > 0) {
        return "the standard input cannot be followed";
    }
    if (options.ends || options.range.until || options.line.Has("html")) {
        return "--ends, --html and --until are for what has happened, not for --follow";
    }
    return options.fail_if_marked ? "--fail-if-marked is for one report, not for --follow"
                                  : "";
}

}  // namespace

Options ReadOptions(int argc, char* const* argv) {
    Options options;
    options.line = tools::ReadCommandLine(argc, argv,
                                          {{"follow"},
                                           {"since", true},
                                           {"until", true},
                                           {"json"},
                                           {"ends"},
                                           {"html", true},
                                           {"metrics", true},
                                           {"list", true},
                                           {"sort", true},
                                           {"fail-if-marked"},
                                           {"now", true}});
    options.follow = options.line.Has("follow");
    options.json = options.line.Has("json");
    options.ends = options.line.Has("ends");
    options.metrics =
        options.line.Has("metrics") ? options.line.options.at("metrics") : "";
    options.list = options.line.Has("list") ? options.line.options.at("list") : "";
    options.html = options.line.Has("html") ? options.line.options.at("html") : "";
    options.fail_if_marked = options.line.Has("fail-if-marked");
    options.logs = options.line.operands;
    std::string& error = options.line.error;
    if (error.empty()) {
        error = ReadValues(options);
    }
    if (error.empty()) {
        error = ReadRange(options);
    }
    if (error.empty()) {
        error = FindConflict(options);
    }
    return options;
}

std::string HelpText() {
    return kHelp;
}

}  // namespace launchlog_report
