#include "tools/launchlog_report/logs.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "tools/launchlog_report/compression.h"
#include "tools/launchlog_report/log_files.h"
#include "tools/launchlog_report/time_order.h"

namespace launchlog_report {
namespace {

// How much of the first line tells whether a file is compressed.
constexpr std::size_t kBeginning = 16;

bool IsIn(std::vector<std::string> const& files, std::string const& file) {
    return std::find(files.begin(), files.end(), file) != files.end();
}

bool IsMissing(std::string const& path) {
    return access(path.c_str(), F_OK) != 0;
}

// newsyslog begins a new file with a line of its own.
bool IsOfRotation(std::string const& line) {
    return line.find(" newsyslog[") != std::string::npos &&
           line.find("]: logfile turned over") != std::string::npos;
}

std::string Shown(std::string const& path) {
    return path == "-" ? "the standard input" : path;
}

std::string ProblemLine(std::string const& path, std::string const& problem) {
    return Shown(path) + ": " + problem;
}

}  // namespace

void Logs::Read(std::vector<std::string> const& paths, bool follow) {
    std::size_t number = logs.size();
    Group(paths);
    for (auto log = std::next(logs.begin(), static_cast<long>(number)); log != logs.end();
         ++log) {
        ReadLog(*log, number, follow);
        ++number;
    }
}

// Groups the files by the logs that they belong to.
void Logs::Group(std::vector<std::string> const& paths) {
    for (std::string const& path : paths) {
        LogName const name = ParseLogName(path);
        if (path == "-" || name.IsOriginal()) {
            FindLog(path).is_named = true;
        } else if (Log& log = FindLog(name.original); !IsIn(log.rotated, path)) {
            log.rotated.push_back(path);
        }
    }
}

// Returns the log with this path, which is added if it is new.
Logs::Log& Logs::FindLog(std::string const& path) {
    auto const log = std::find_if(logs.begin(), logs.end(),
                                  [&path](Log const& it) { return it.path == path; });
    if (log != logs.end()) {
        return *log;
    }
    logs.emplace_back().path = path;
    return logs.back();
}

void Logs::ReadLog(Log& log, std::size_t number, bool follow) {
    if (log.path == "-") {
        ReadFile("-", log, number);
        return;
    }
    if (!log.is_named) {
        ReadRotated(log, number);
        return;
    }
    // Opened first, so that nothing is missed if it is rotated just now.
    LiveLog& live = log.live.emplace(log.path, CountingTaker(log.counts, number));
    live.Open(read_files);
    if (follow) {
        live.NoteRotatedFiles();
    }
    for (std::string const& file : RotatedFiles(log.path)) {
        if (!IsIn(log.rotated, file)) {
            log.rotated.push_back(file);
        }
    }
    ReadRotated(log, number);
    // Just after a rotation there is no log until the next line.
    log.may_be_missing = follow || !log.rotated.empty();
    live.Read();
    if (!follow) {
        live.Finish();
    }
    log.no_log = WhyNoLog(log.counts);
}

void Logs::ReadRotated(Log& log, std::size_t number) {
    for (std::string const& file : InOrderOfTimes(OldestFirst(log.rotated))) {
        ReadFile(file, log, number);
    }
}

void Logs::ReadFile(std::string const& path, Log& log, std::size_t number) {
    LineCounts counts;
    std::string problem = ReadLines(path, CountingTaker(counts, number), read_files);
    if (problem.empty()) {
        problem = WhyNoLog(counts);
    }
    if (!problem.empty()) {
        log.problems.push_back(ProblemLine(path, problem));
    }
}

void Logs::ReadOn() {
    for (Log& log : logs) {
        if (log.live) {
            log.live->Read();
        }
    }
}

// Returns a taker that counts the lines and passes on those of launchers.
launchlog_report::LineTaker Logs::CountingTaker(LineCounts& counts, std::size_t number) {
    return [this, &counts, number](std::string const& line, bool is_cut) {
        std::optional<LogEvent> const event = ParseLogLine(line);
        if (!line.empty() && !IsOfRotation(line)) {
            if (counts.all == 0) {
                counts.beginning = line.substr(0, kBeginning);
            }
            ++counts.all;
            if (take_line) {
                take_line(line, event && !is_cut, number);
            }
        }
        if (event) {
            ++counts.of_launchers;
        }
        if (is_cut) {
            ++cut_lines;
        } else if (event) {
            take(*event, number);
        }
    };
}

// Returns why a file with these lines is no log; an empty string if it is one, or has no
// line yet.
std::string Logs::WhyNoLog(LineCounts const& counts) {
    if (counts.all == 0 || counts.of_launchers > 0) {
        return "";
    }
    Compression const* const compression = CompressionOfContent(counts.beginning);
    return std::string("no line of it is a line of a launcher's log") +
           (compression == nullptr
                ? ""
                : std::string("; it is compressed: use ") + compression->command);
}

// Returns why the log itself cannot be read now; an empty string if it can.
std::string Logs::LiveProblem(Log const& log) {
    if (!log.live->Problem().empty()) {
        bool const is_waited_for = log.may_be_missing && IsMissing(log.path);
        return is_waited_for ? "" : log.live->Problem();
    }
    return log.counts.of_launchers > 0 ? "" : log.no_log;
}

std::vector<std::string> Logs::Paths() const {
    std::vector<std::string> paths;
    for (Log const& log : logs) {
        paths.push_back(Shown(log.path));
    }
    return paths;
}

std::vector<std::string> Logs::Problems() const {
    std::vector<std::string> lines;
    for (Log const& log : logs) {
        lines.insert(lines.end(), log.problems.begin(), log.problems.end());
        std::string const problem = log.live ? LiveProblem(log) : "";
        if (!problem.empty()) {
            lines.push_back(ProblemLine(log.path, problem));
        }
    }
    return lines;
}

std::vector<std::string> Logs::MissingLogs() const {
    std::vector<std::string> lines;
    for (Log const& log : logs) {
        if (log.live && log.live->IsMissing()) {
            lines.push_back(log.path + ": not there yet");
        }
    }
    return lines;
}

}  // namespace launchlog_report
