#include "tools/launchlog_report/time_order.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "tools/launchlog_report/line_splitter.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/log_reader.h"
#include "tools/launchlog_report/time_stamp.h"

namespace launchlog_report {
namespace {

// How much of a file is searched for a time.
constexpr std::size_t kSearched = 65536;

// Returns the time of the first of the launcher's lines that has one.
std::optional<Time> FirstTime(std::string const& path) {
    std::optional<Time> time;
    std::size_t searched = 0;
    LineSplitter lines([&time](std::string const& line, bool /*is_cut*/) {
        std::optional<LogEvent> const event = time ? std::nullopt : ParseLogLine(line);
        time = event ? event->time : time;
    });
    ReadBytes(path, [&](char const* bytes, std::size_t size) {
        lines.Add(bytes, size);
        searched += size;
        return !time && searched < kSearched;
    });
    lines.Finish();
    return time;
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

}  // namespace launchlog_report
