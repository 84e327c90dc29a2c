#include "tools/launchlog_report/log_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/launchlog_report/log_files.h"

namespace launchlog_report {
namespace {

// Returns `text` as one word of the shell.
std::string QuotedForShell(std::string const& text) {
    std::string word = "'";
    for (char const letter : text) {
        word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return word + "'";
}

// Returns whether the file is a device without an end. A terminal and /dev/null have one.
bool IsEndlessDevice(int file, struct stat const& info) {
    struct stat null = {};
    bool const is_null = stat("/dev/null", &null) == 0 && info.st_rdev == null.st_rdev;
    return S_ISCHR(info.st_mode) && isatty(file) == 0 && !is_null;
}

std::string ReadDescriptor(int file, ByteTaker const& take, bool& wants_more) {
    char bytes[65536];
    ssize_t length = 0;
    while (wants_more && (length = read(file, bytes, sizeof bytes)) != 0) {
        if (length > 0) {
            wants_more = take(bytes, static_cast<std::size_t>(length));
        } else if (errno != EINTR) {
            return std::strerror(errno);
        }
    }
    return "";
}

std::string ReadCompressed(std::string const& path, std::string const& command,
                           ByteTaker const& take) {
    std::FILE* const pipe = popen((command + " <" + QuotedForShell(path)).c_str(), "r");
    if (pipe == nullptr) {
        return std::strerror(errno);
    }
    bool wants_more = true;
    std::string const problem = ReadDescriptor(fileno(pipe), take, wants_more);
    bool const failed = pclose(pipe) != 0;
    // If the reading ends early, SIGPIPE ends the command, and that is no failure.
    return problem.empty() && failed && wants_more ? "\"" + command + "\" failed"
                                                   : problem;
}

}  // namespace

bool ReadFiles::Add(int file) {
    struct stat info = {};
    return fstat(file, &info) != 0 || !S_ISREG(info.st_mode) ||
           files.insert({info.st_dev, info.st_ino}).second;
}

std::string WhyNotALog(int file) {
    struct stat info = {};
    if (fstat(file, &info) != 0) {
        return std::strerror(errno);
    }
    if (S_ISDIR(info.st_mode)) {
        return std::strerror(EISDIR);
    }
    return IsEndlessDevice(file, info) ? "this is a device, not a log" : "";
}

std::string ReadBytes(std::string const& path, ByteTaker const& take) {
    bool wants_more = true;
    if (path == "-") {
        std::string problem = WhyNotALog(STDIN_FILENO);
        return problem.empty() ? ReadDescriptor(STDIN_FILENO, take, wants_more) : problem;
    }
    if (Compression const* const compression = ParseLogName(path).compression) {
        return ReadCompressed(path, compression->command, take);
    }
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return std::strerror(errno);
    }
    std::string problem = WhyNotALog(file);
    if (problem.empty()) {
        problem = ReadDescriptor(file, take, wants_more);
    }
    close(file);
    return problem;
}

std::string ReadLines(std::string const& path, LineTaker const& take,
                      ReadFiles& read_files) {
    if (path != "-") {
        int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (file < 0) {
            return std::strerror(errno);
        }
        std::string problem = WhyNotALog(file);
        bool const is_new = problem.empty() && read_files.Add(file);
        close(file);
        if (!is_new) {
            return problem;
        }
    }
    LineSplitter lines(take);
    std::string problem = ReadBytes(path, [&lines](char const* bytes, std::size_t size) {
        lines.Add(bytes, size);
        return true;
    });
    lines.Finish();
    return problem;
}

}  // namespace launchlog_report
