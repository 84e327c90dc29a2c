#include "tools/launchlog_report/log_files.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <tuple>

#include "tools/common/text.h"

namespace launchlog_report {
namespace {

namespace fs = std::filesystem;

std::string WithoutSuffix(std::string const& name, Compression const* compression) {
    std::size_t const suffix =
        compression == nullptr ? 0 : std::strlen(compression->suffix);
    return name.substr(0, name.size() - suffix);
}

// Numbers, and dates such as "20261121", "2026-11-21" and "20261121T0000".
bool IsMarkCharacter(char letter) {
    return tools::IsDigit(letter) || letter == 'T' || letter == '-' || letter == '.';
}

// Returns where the sign before the mark stands that rotation appended to an uncompressed
// name; the name's length if there is no mark.
std::size_t FindMark(std::string const& name) {
    std::size_t found = name.size();
    for (std::size_t i = name.size(); i > 0 && IsMarkCharacter(name[i - 1]); --i) {
        bool const is_sign = name[i - 1] == '.' || name[i - 1] == '-';
        if (is_sign && i > 1 && i < name.size() && tools::IsDigit(name[i])) {
            found = i - 1;
        }
        if (name[i - 1] == '.') {
            break;
        }
    }
    return found;
}

// Returns whether the mark is a number. A date has more digits than the number of any
// file that is kept.
bool IsNumber(std::string const& mark) {
    return mark.size() < 8 && std::all_of(mark.begin(), mark.end(), tools::IsDigit);
}

// Returns whether the file `a` is older than `b`. Dates are older than numbers. Of two
// dates the earlier one is older, of two numbers the higher one. If the marks are equal,
// the uncompressed file comes first.
bool IsOlder(LogName const& a, LogName const& b) {
    bool const is_number = IsNumber(a.mark);
    if (is_number != IsNumber(b.mark)) {
        return !is_number;
    }
    if (is_number && a.mark.size() != b.mark.size()) {
        return a.mark.size() > b.mark.size();
    }
    if (a.mark != b.mark) {
        return is_number ? a.mark > b.mark : a.mark < b.mark;
    }
    bool const a_is_compressed = a.compression != nullptr;
    bool const b_is_compressed = b.compression != nullptr;
    return std::tie(a_is_compressed, a.path) < std::tie(b_is_compressed, b.path);
}

// Returns the entries of a directory; none if it cannot be read.
std::vector<fs::path> EntriesOf(fs::path const& directory) {
    std::vector<fs::path> entries;
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    while (!error && entry != fs::directory_iterator()) {
        entries.push_back(entry->path());
        entry.increment(error);
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

}  // namespace

LogName ParseLogName(std::string const& path) {
    Compression const* const compression = CompressionOfName(path);
    std::string const name = WithoutSuffix(fs::path(path).filename(), compression);
    std::size_t const sign = FindMark(name);
    fs::path const original = fs::path(path).parent_path() / name.substr(0, sign);
    return {path, original.lexically_normal(),
            name.substr(std::min(sign + 1, name.size())), compression};
}

std::vector<std::string> RotatedFiles(std::string const& log) {
    fs::path const path = log;
    fs::path const directory = path.has_parent_path() ? path.parent_path() : ".";
    std::string const log_name = path.filename();
    std::vector<std::string> files;
    for (fs::path const& entry : EntriesOf(directory)) {
        LogName const name = ParseLogName(entry.filename());
        if (name.original == log_name && !name.mark.empty()) {
            files.push_back(path.has_parent_path() ? entry : entry.filename());
        }
    }
    return OldestFirst(files);
}

std::vector<std::string> OldestFirst(std::vector<std::string> const& files) {
    std::vector<LogName> names;
    names.reserve(files.size());
    for (std::string const& file : files) {
        names.push_back(ParseLogName(file));
    }
    std::sort(names.begin(), names.end(), IsOlder);
    std::vector<std::string> ordered;
    std::string previous;
    for (LogName const& name : names) {
        std::string const uncompressed = WithoutSuffix(name.path, name.compression);
        if (ordered.empty() || name.compression == nullptr || uncompressed != previous) {
            ordered.push_back(name.path);
        }
        previous = uncompressed;
    }
    return ordered;
}

std::vector<std::string> FindLogs(std::string const& home) {
    std::vector<std::string> logs;
    for (fs::path const& product : EntriesOf(fs::path(home) / "Library/Logs")) {
        std::string const log = product / "voplog/launcher.log";
        std::error_code error;
        if (fs::exists(log, error) || !RotatedFiles(log).empty()) {
            logs.push_back(log);
        }
    }
    return logs;
}

}  // namespace launchlog_report
