// launchlog-report: says what restarts, how often and why, from the log of a launcher.

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "common/config/app_locations.h"
#include "common/config/log.h"
#include "tools/launchlog_report/log_files.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/log_reader.h"
#include "tools/launchlog_report/output.h"
#include "tools/launchlog_report/summary.h"
#include "tools/shared/command_line.h"
#include "tools/shared/printable.h"

// This program has no log of its own.
ILog* logger = nullptr;

namespace {

char const* const kProgram = "launchlog-report";

char const* const kHelp = R"(launchlog-report [--follow] [--json] [--now TIME] [LOG...]

Reads launcher logs, their rotated and packed files included, and prints a line for each
item: how often its program was started again, altogether and in the last minute, when it
ended first and last, and how. Items with more than ten restarts in the last minute are
marked with "!". Without a LOG it reads those of the user,
~/Library/Logs/*/voplog/launcher.log; "-" is the standard input.

  --follow     print the report again whenever it changes, until Ctrl-C
  --json       print one JSON document on one line instead of a table, for machines
  --now TIME   take TIME for now, like 2026-11-21T12:00:00Z, for logs of the past
  --help       print this
  --version    print the version

Exit code: 0 if all was read, 1 if not, 2 if the command line is wrong.

Examples:

  launchlog-report
  launchlog-report --follow
  launchlog-report --now 2026-11-21T12:00:00Z old/launcher.log
  launchlog-report --json | jq -r '.items[] | select(.restarts_often) | .name'

A table looks like this:

    NAME    RESTARTS  PER MINUTE  FIRST END             LAST END              LAST STATUS
    steady         0           0  2026-11-21T11:53:39Z  2026-11-21T11:53:39Z  killed by SIGKILL
  ! ticker        25          25  2026-11-21T11:52:48Z  2026-11-21T11:53:38Z  exit 3
  ! more than ten restarts in the last minute
)";

volatile std::sig_atomic_t stop_asked = 0;

void AskForStop(int /*signal_number*/) {
    stop_asked = 1;
}

// The logs to report on, and what they have said so far.
class Report {
  public:
    // Without a time, now is always now.
    explicit Report(std::optional<Time> fixed_now) : fixed(fixed_now) {}

    // Reads a log from its oldest file on. With `follow` it need not be there yet.
    // Returns false, after a message, if something of it could not be read.
    bool Add(std::string const& path, bool follow) {
        if (path == "-" || IsRotated(path) || !UnpackingCommand(path).empty()) {
            return Complain(path, ReadLines(path, Taker(), read_files));
        }
        // Opened first, so that nothing is missed if it is rotated just now.
        LiveLog& log = logs.emplace_back(path, Taker());
        std::string const problem = log.Open(read_files);
        std::vector<std::string> const rotated = RotatedFiles(path);
        bool is_complete = true;
        for (std::string const& file : rotated) {
            is_complete =
                Complain(file, ReadLines(file, Taker(), read_files)) && is_complete;
        }
        // Just after a rotation there is no log until the next line.
        bool const may_be_missing = follow || !rotated.empty();
        if (!problem.empty() && !(may_be_missing && access(path.c_str(), F_OK) != 0)) {
            is_complete = Complain(path, problem);
        }
        log.Read();
        if (!follow) {
            log.Finish();
        }
        return is_complete;
    }

    void ReadOn() {
        for (LiveLog& log : logs) {
            log.Read();
        }
    }

    std::vector<Row> Rows() { return summary.Rows(CurrentTime()); }

  private:
    Time CurrentTime() const { return fixed ? *fixed : Now(); }

    LineTaker Taker() {
        return [this](std::string const& line) {
            std::optional<LogEvent> const event = ParseLogLine(line);
            if (event) {
                summary.Add(*event, CurrentTime());
            }
        };
    }

    static bool Complain(std::string const& path, std::string const& problem) {
        if (!problem.empty()) {
            std::fprintf(stderr, "%s: %s: %s\n", kProgram, Printable(path).c_str(),
                         problem.c_str());
        }
        return problem.empty();
    }

    std::optional<Time> const fixed;
    Summary summary;
    ReadFiles read_files;
    std::list<LiveLog> logs;
};

bool Print(std::string const& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return FinishOutput(kProgram);
}

// Prints the report whenever it changes, on a terminal in the place of the last, until a
// signal asks for the end.
bool Follow(Report& report, bool as_json) {
    constexpr int kInterval = 1000;
    struct sigaction action = {};
    action.sa_handler = AskForStop;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    char const* const clear_screen = "\033[H\033[2J";
    bool const on_screen = !as_json && isatty(STDOUT_FILENO) != 0;
    std::string shown;
    while (stop_asked == 0) {
        report.ReadOn();
        std::vector<Row> const rows = report.Rows();
        std::string const text = as_json ? ToJson(rows) : ToTable(rows);
        std::string const gap = as_json || shown.empty() ? "" : "\n";
        if (text != shown && !Print((on_screen ? clear_screen : gap) + text)) {
            return false;
        }
        shown = text;
        poll(nullptr, 0, kInterval);
    }
    return true;
}

int MakeReport(CommandLine const& line, std::optional<Time> now) {
    bool const follow = line.Has("--follow");
    bool const as_json = line.Has("--json");
    std::vector<std::string> paths = line.operands;
    if (paths.empty()) {
        paths = FindLogs(GetHomePath());
    }
    if (paths.empty()) {
        std::fprintf(stderr,
                     "%s: there is no launcher log in %s/Library/Logs; name one\n",
                     kProgram, Printable(GetHomePath()).c_str());
        return 1;
    }
    Report report(now);
    bool is_complete = true;
    for (std::string const& path : paths) {
        is_complete = report.Add(path, follow) && is_complete;
    }
    if (follow) {
        is_complete = Follow(report, as_json) && is_complete;
    } else {
        std::vector<Row> const rows = report.Rows();
        is_complete = Print(as_json ? ToJson(rows) : ToTable(rows)) && is_complete;
    }
    return is_complete ? 0 : 1;
}

// Returns what is wrong with the command line, in words. Sets `now` to the value of
// --now.
std::string FindError(CommandLine const& line, std::optional<Time>& now) {
    if (!line.error.empty()) {
        return line.error;
    }
    if (line.Has("--now")) {
        now = ParseTimeStamp(line.options.at("--now"));
        if (!now) {
            return "--now takes a time like 2026-11-21T12:00:00Z";
        }
    }
    for (std::string const& path : line.operands) {
        if (path == "-" && line.Has("--follow")) {
            return "the standard input cannot be followed";
        }
    }
    return "";
}

}  // namespace

int main(int argc, char** argv) {
    CommandLine const line = ReadCommandLine(argc, argv,
                                             {{"--follow", false},
                                              {"--json", false},
                                              {"--now", true},
                                              {"--help", false},
                                              {"-h", false},
                                              {"--version", false}});
    if (line.Has("--help") || line.Has("-h")) {
        return Print(kHelp) ? 0 : 1;
    }
    if (line.Has("--version")) {
        return Print(std::string(kProgram) + " " + PROJECT_VERSION + "\n") ? 0 : 1;
    }
    std::optional<Time> now;
    std::string const error = FindError(line, now);
    if (!error.empty()) {
        std::fprintf(stderr, "%s: %s; --help tells more\n", kProgram, error.c_str());
        return 2;
    }
    return MakeReport(line, now);
}
