#include "tools/launchlog_report/live_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/launchlog_report/log_files.h"

namespace launchlog_report {

LiveLog::LiveLog(std::string log_path, LineTaker const& taker)
    : path(std::move(log_path)), lines(taker) {}

LiveLog::~LiveLog() {
    if (file >= 0) {
        close(file);
    }
}

void LiveLog::Open(ReadFiles& read_files) {
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    problem = file < 0 ? std::strerror(errno) : WhyNotALog(file);
    is_read_elsewhere = problem.empty() && !read_files.Add(file);
    if (file >= 0 && (!problem.empty() || is_read_elsewhere)) {
        close(file);
        file = -1;
    }
}

bool LiveLog::IsMissing() const {
    return file < 0 && access(path.c_str(), F_OK) != 0;
}

void LiveLog::NoteRotatedFiles() {
    for (std::string const& rotated : RotatedFiles(path)) {
        if (!HasChanged(rotated)) {
            continue;
        }
        Content known;
        ReadBytes(rotated, [&known](char const* bytes, std::size_t size) {
            known.Add(bytes, size);
            return true;
        });
        known_contents.push_back(known);
    }
}

// Returns whether the file is new or was written to since it was last asked about.
bool LiveLog::HasChanged(std::string const& rotated) {
    struct stat info = {};
    std::error_code error;
    auto const time = std::filesystem::last_write_time(rotated, error);
    if (error || stat(rotated.c_str(), &info) != 0) {
        return false;
    }
    KnownFile const as_it_is = {info.st_size, time};
    auto const [place, is_new] =
        known_files.insert({{info.st_dev, info.st_ino}, as_it_is});
    bool const has_changed = is_new || place->second != as_it_is;
    place->second = as_it_is;
    return has_changed;
}

void LiveLog::Read() {
    if (is_read_elsewhere) {
        return;
    }
    if (file >= 0) {
        problem.clear();
        if (WasTruncated()) {
            // The line that was not complete goes on in the copy.
            ReadMissedFiles();
            StartAnew();
        }
        ReadToEnd();
    }
    while (WasReplaced() && SwitchToNewFile()) {
    }
}

// Goes on with the file that is at the path now. Returns false if it cannot be opened. It
// is opened first: if it is renamed in the meantime it is still read.
bool LiveLog::SwitchToNewFile() {
    int const new_file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    problem = new_file < 0 ? std::strerror(errno) : "";
    if (new_file < 0) {
        return false;
    }
    if (file >= 0) {
        // The last lines came after the end was seen.
        ReadToEnd();
        lines.Finish();
        close(file);
    }
    ReadMissedFiles();
    StartAnew();
    file = new_file;
    ReadToEnd();
    return true;
}

void LiveLog::StartAnew() {
    lines.Finish();
    known_contents.push_back(content);
    content = Content();
    if (file >= 0) {
        lseek(file, 0, SEEK_SET);
    }
}

void LiveLog::ReadToEnd() {
    char bytes[65536];
    ssize_t length = 0;
    while ((length = read(file, bytes, sizeof bytes)) > 0) {
        lines.Add(bytes, static_cast<std::size_t>(length));
        content.Add(bytes, static_cast<std::size_t>(length));
    }
}

void LiveLog::ReadMissedFiles() {
    for (std::string const& rotated : RotatedFiles(path)) {
        if (HasChanged(rotated)) {
            ReadMissedFile(rotated);
        }
    }
}

void LiveLog::ReadMissedFile(std::string const& rotated) {
    known_contents.push_back(content);
    ContentFinder finder(known_contents);
    known_contents.pop_back();
    Content whole;
    ReadBytes(rotated, [&](char const* bytes, std::size_t size) {
        finder.Add(bytes, size);
        whole.Add(bytes, size);
        return true;
    });
    std::uint64_t to_skip = finder.KnownLength();
    if (to_skip >= whole.Length()) {
        return;
    }
    if (to_skip == 0) {
        lines.Finish();
    }
    known_contents.push_back(whole);
    ReadBytes(rotated, [&](char const* bytes, std::size_t size) {
        auto const skipped =
            static_cast<std::size_t>(std::min<std::uint64_t>(to_skip, size));
        to_skip -= skipped;
        lines.Add(bytes + skipped, size - skipped);
        return true;
    });
    lines.Finish();
}

// A truncated file is shorter than what was read of it, or has other bytes where the last
// ones were read.
bool LiveLog::WasTruncated() const {
    struct stat info = {};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) {
        return false;
    }
    auto const offset = static_cast<off_t>(content.Length());
    if (info.st_size < offset) {
        return true;
    }
    std::string end(content.KeptEnd(), '\0');
    auto const size = static_cast<off_t>(end.size());
    return pread(file, &end[0], end.size(), offset - size) ==
               static_cast<ssize_t>(end.size()) &&
           !content.EndsWith(end);
}

bool LiveLog::WasReplaced() const {
    struct stat at_path = {};
    struct stat opened = {};
    if (stat(path.c_str(), &at_path) != 0 || S_ISDIR(at_path.st_mode) ||
        S_ISCHR(at_path.st_mode)) {
        return false;
    }
    return file < 0 || fstat(file, &opened) != 0 || at_path.st_dev != opened.st_dev ||
           at_path.st_ino != opened.st_ino;
}

}  // namespace launchlog_report
