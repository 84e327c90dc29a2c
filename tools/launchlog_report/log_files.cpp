#include "tools/launchlog_report/log_files.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <tuple>

#include "common/strings/text.h"

namespace {

namespace fs = std::filesystem;

struct Packing {
    char const* suffix;
    char const* command;
    // What a packed file begins with.
    char const* beginning;
};

constexpr Packing kPackings[] = {
    {".gz", "gzip -dc", "\x1F\x8B"},
    {".bz2", "bzip2 -dc", "BZh"},
    {".xz", "xz -dc", "\xFD\x37zXZ"},
    {".zst", "zstd -dc", "\x28\xB5\x2F\xFD"},
};

std::string WithoutPacking(std::string const& name) {
    for (Packing const& packing : kPackings) {
        std::string const suffix = packing.suffix;
        if (ends_with(name, suffix)) {
            return name.substr(0, name.size() - suffix.size());
        }
    }
    return name;
}

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// Numbers, and dates such as "-20261121" and ".20261121T0000".
bool IsMarkCharacter(char letter) {
    return IsDigit(letter) || letter == 'T' || letter == '-' || letter == '.';
}

// What rotation appended to a log's name.
struct Rotation {
    std::string path;
    // The number or the date, without the sign before it.
    std::string mark;
    bool is_packed;

    // Dates have more digits than any number of a file that is kept.
    bool IsNumber() const {
        return mark.size() < 8 && std::all_of(mark.begin(), mark.end(), IsDigit);
    }

    // Orders the oldest first: dates as they are, before numbers, the highest of which is
    // the oldest; and packed files behind their originals.
    bool operator<(Rotation const& other) const {
        if (IsNumber() != other.IsNumber()) {
            return other.IsNumber();
        }
        if (IsNumber() && mark.size() != other.mark.size()) {
            return mark.size() > other.mark.size();
        }
        if (mark != other.mark) {
            return IsNumber() ? mark > other.mark : mark < other.mark;
        }
        return std::tie(is_packed, path) < std::tie(other.is_packed, other.path);
    }
};

// Returns where the mark begins that rotation appended to a name, with the sign before
// it; the name's length if there is none.
std::size_t FindMark(std::string const& name) {
    std::size_t const end = WithoutPacking(name).size();
    std::size_t begin = end;
    for (std::size_t i = end; i > 0 && IsMarkCharacter(name[i - 1]); --i) {
        bool const is_sign = name[i - 1] == '.' || name[i - 1] == '-';
        if (is_sign && i > 1 && i < end && IsDigit(name[i])) {
            begin = i - 1;
        }
        if (name[i - 1] == '.') {
            break;
        }
    }
    return begin == end ? name.size() : begin;
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

std::vector<std::string> RotatedFiles(std::string const& log) {
    fs::path const path = log;
    fs::path const directory = path.has_parent_path() ? path.parent_path() : ".";
    std::string const log_name = path.filename();
    std::vector<std::string> files;
    for (fs::path const& entry : EntriesOf(directory)) {
        std::string const name = entry.filename();
        std::size_t const mark = FindMark(name);
        if (mark == log_name.size() && mark < name.size() &&
            name.compare(0, mark, log_name) == 0) {
            files.push_back(path.has_parent_path() ? entry : entry.filename());
        }
    }
    return OldestFirst(files);
}

std::vector<std::string> OldestFirst(std::vector<std::string> const& files) {
    std::vector<Rotation> rotations;
    for (std::string const& file : files) {
        std::string const name = fs::path(file).filename();
        std::string const unpacked = WithoutPacking(name);
        std::size_t const mark = std::min(FindMark(name) + 1, unpacked.size());
        rotations.push_back({file, unpacked.substr(mark), unpacked != name});
    }
    std::sort(rotations.begin(), rotations.end());
    std::vector<std::string> ordered;
    for (std::size_t i = 0; i < rotations.size(); ++i) {
        bool const is_copy =
            i > 0 && rotations[i].is_packed &&
            WithoutPacking(rotations[i].path) == WithoutPacking(rotations[i - 1].path);
        if (!is_copy) {
            ordered.push_back(rotations[i].path);
        }
    }
    return ordered;
}

std::string OriginalName(std::string const& path) {
    std::string const name = fs::path(path).filename();
    std::size_t const mark = FindMark(name);
    std::string const original =
        mark < name.size() ? name.substr(0, mark) : WithoutPacking(name);
    return (fs::path(path).parent_path() / original).lexically_normal();
}

bool IsRotated(std::string const& path) {
    std::string const name = fs::path(path).filename();
    return FindMark(name) < name.size();
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

std::string UnpackingCommand(std::string const& path) {
    for (Packing const& packing : kPackings) {
        if (ends_with(path, packing.suffix)) {
            return packing.command;
        }
    }
    return "";
}

std::string UnpackingCommandFor(std::string const& content) {
    for (Packing const& packing : kPackings) {
        if (content.rfind(packing.beginning, 0) == 0) {
            return packing.command;
        }
    }
    return "";
}
