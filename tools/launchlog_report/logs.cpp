#include "tools/launchlog_report/logs.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "tools/launchlog_report/log_files.h"
#include "tools/launchlog_report/time_stamp.h"

namespace {

// How much of a file is looked at for a time.
constexpr std::size_t kBeginning = 65536;
// How much of a file tells whether it is packed.
constexpr std::size_t kLongestBeginning = 16;

// Returns the time of the first of the launcher's lines that has one.
std::optional<Time> FirstTime(std::string const& path) {
    std::optional<Time> time;
    std::size_t looked_at = 0;
    LineSplitter lines([&time](std::string const& line, bool /*is_cut*/) {
        std::optional<LogEvent> const event = time ? std::nullopt : ParseLogLine(line);
        time = event ? event->time : time;
    });
    ReadBytes(path, [&](char const* bytes, std::size_t size) {
        lines.Add(bytes, size);
        looked_at += size;
        return !time && looked_at < kBeginning;
    });
    lines.Finish();
    return time;
}

bool IsAlreadyIn(std::vector<std::string> const& files, std::string const& file) {
    return std::find(files.begin(), files.end(), file) != files.end();
}

// newsyslog begins a new file with a line of its own.
bool IsOfRotation(std::string const& line) {
    return line.find(" newsyslog[") != std::string::npos &&
           line.find("]: logfile turned over") != std::string::npos;
}

}  // namespace

std::vector<std::string> InOrderOfTimes(std::vector<std::string> const& files) {
    if (files.size() < 2) {
        return files;
    }
    std::vector<std::pair<std::optional<Time>, std::string>> by_time;
    std::optional<Time> before;
    for (std::string const& file : files) {
        std::optional<Time> const time = FirstTime(file);
        before = time ? time : before;
        by_time.emplace_back(before, file);
    }
    std::stable_sort(by_time.begin(), by_time.end(),
                     [](auto const& a, auto const& b) { return a.first < b.first; });
    std::vector<std::string> ordered;
    for (auto const& [time, file] : by_time) {
        ordered.push_back(file);
    }
    return ordered;
}

std::vector<Logs::Family> Logs::Group(std::vector<std::string> const& paths) {
    std::vector<Family> families;
    for (std::string const& path : paths) {
        bool const is_log =
            path == "-" || (!IsRotated(path) && UnpackingCommand(path).empty());
        std::string const original = is_log ? path : OriginalName(path);
        auto family = std::find_if(
            families.begin(), families.end(),
            [&original](Family const& it) { return it.original == original; });
        if (family == families.end()) {
            family = families.insert(families.end(), Family());
            family->original = original;
        }
        if (is_log) {
            family->has_original = true;
        } else if (!IsAlreadyIn(family->rotated, path)) {
            family->rotated.push_back(path);
        }
    }
    return families;
}

void Logs::Read(std::vector<std::string> const& paths, bool follow) {
    std::size_t log = 0;
    for (Family const& family : Group(paths)) {
        ReadFamily(family, log, follow);
        ++log;
    }
}

void Logs::ReadFamily(Family const& family, std::size_t log, bool follow) {
    if (family.original == "-") {
        ReadFile("-", log);
        return;
    }
    if (!family.has_original) {
        for (std::string const& file : InOrderOfTimes(OldestFirst(family.rotated))) {
            ReadFile(file, log);
        }
        return;
    }
    // Opened first, so that nothing is missed if it is rotated just now.
    LineCounts& counts = live_counts.emplace_back();
    LiveLog& live = live_logs.emplace_back(family.original, CountingTaker(counts, log));
    std::string const problem = live.Open(read_files);
    if (follow) {
        live.NoteRotatedFiles();
    }
    std::vector<std::string> rotated = RotatedFiles(family.original);
    for (std::string const& file : family.rotated) {
        if (!IsAlreadyIn(rotated, file)) {
            rotated.push_back(file);
        }
    }
    for (std::string const& file : InOrderOfTimes(OldestFirst(rotated))) {
        ReadFile(file, log);
    }
    // Just after a rotation there is no log until the next line.
    bool const may_be_missing = follow || !rotated.empty();
    if (!(may_be_missing && access(family.original.c_str(), F_OK) != 0)) {
        Complain(family.original, problem);
    }
    ReadLive(live, family.original, counts, follow);
}

void Logs::ReadFile(std::string const& path, std::size_t log) {
    LineCounts counts;
    std::string const problem = ReadLines(path, CountingTaker(counts, log), read_files);
    Complain(path, problem.empty() ? WhyNoLog(counts) : problem);
}

void Logs::ReadLive(LiveLog& live, std::string const& path, LineCounts& counts,
                    bool follow) {
    live.Read();
    if (!follow) {
        live.Finish();
    }
    Complain(path, WhyNoLog(counts), &counts);
}

void Logs::ReadOn() {
    for (LiveLog& log : live_logs) {
        log.Read();
    }
}

LineTaker Logs::CountingTaker(LineCounts& counts, std::size_t log) {
    return [this, &counts, log](std::string const& line, bool is_cut) {
        std::optional<LogEvent> const event = ParseLogLine(line);
        if (!line.empty() && !IsOfRotation(line)) {
            counts.first =
                counts.all == 0 ? line.substr(0, kLongestBeginning) : counts.first;
            ++counts.all;
        }
        if (event) {
            ++counts.of_launchers;
        }
        if (is_cut) {
            ++cut_lines;
        } else if (event) {
            take(*event, log);
        }
    };
}

// Without a problem there is nothing to complain about.
void Logs::Complain(std::string const& path, std::string const& problem,
                    LineCounts const* counts) {
    std::string const name = path == "-" ? "the standard input" : path;
    if (!problem.empty()) {
        problems.push_back({name + ": " + problem, counts});
    }
}

// Returns an empty string if it is one, or has no line yet.
std::string Logs::WhyNoLog(LineCounts const& counts) {
    if (counts.all == 0 || counts.of_launchers > 0) {
        return "";
    }
    std::string const command = UnpackingCommandFor(counts.first);
    return "no line of it is a line of a launcher's log" +
           (command.empty() ? "" : "; it is packed: use " + command);
}

std::vector<std::string> Logs::Problems() const {
    std::vector<std::string> lines;
    for (Problem const& problem : problems) {
        if (problem.counts == nullptr || problem.counts->of_launchers == 0) {
            lines.push_back(problem.text);
        }
    }
    return lines;
}

std::vector<std::string> Logs::MissingLogs() const {
    std::vector<std::string> lines;
    for (LiveLog const& log : live_logs) {
        if (log.IsMissing()) {
            lines.push_back(log.Path() + ": not there yet");
        }
    }
    return lines;
}
