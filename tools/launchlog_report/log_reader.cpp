#include "tools/launchlog_report/log_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/launchlog_report/log_files.h"

namespace {

constexpr std::size_t kLongestLine = 1'000'000;

// Returns `text` as one word of the shell.
std::string QuotedForShell(std::string const& text) {
    std::string word = "'";
    for (char const letter : text) {
        word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return word + "'";
}

// A terminal and /dev/null are at their end some time.
bool IsEndlessDevice(int file, struct stat const& info) {
    struct stat null = {};
    bool const is_null = stat("/dev/null", &null) == 0 && info.st_rdev == null.st_rdev;
    return S_ISCHR(info.st_mode) && isatty(file) == 0 && !is_null;
}

// Returns why the open file is no log, in words; an empty string if it may be one.
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

std::string ReadUnpacked(std::string const& path, std::string const& command,
                         ByteTaker const& take) {
    std::FILE* const pipe = popen((command + " <" + QuotedForShell(path)).c_str(), "r");
    if (pipe == nullptr) {
        return std::strerror(errno);
    }
    bool wants_more = true;
    std::string const problem = ReadDescriptor(fileno(pipe), take, wants_more);
    bool const failed = pclose(pipe) != 0;
    // If the reading ends early the command is ended by SIGPIPE.
    return problem.empty() && failed && wants_more ? "\"" + command + "\" failed"
                                                   : problem;
}

}  // namespace

void LineSplitter::Add(char const* bytes, std::size_t size) {
    for (std::size_t begin = 0; begin < size;) {
        auto const* const feed =
            static_cast<char const*>(std::memchr(bytes + begin, '\n', size - begin));
        std::size_t const end =
            feed == nullptr ? size : static_cast<std::size_t>(feed - bytes);
        std::size_t const room = kLongestLine - line.size();
        is_cut = is_cut || end - begin > room;
        line.append(bytes + begin, std::min(room, end - begin));
        if (feed != nullptr) {
            HandOn();
        }
        begin = end + 1;
    }
}

void LineSplitter::Finish() {
    if (!line.empty()) {
        HandOn();
    }
}

void LineSplitter::HandOn() {
    take(line, is_cut);
    line.clear();
    is_cut = false;
}

std::string Examine(int file, ReadFiles& read_files, bool& is_known) {
    std::string problem = WhyNotALog(file);
    struct stat info = {};
    if (!problem.empty() || fstat(file, &info) != 0) {
        return problem;
    }
    // Only a regular file is the same when it is read again.
    is_known =
        S_ISREG(info.st_mode) && !read_files.insert({info.st_dev, info.st_ino}).second;
    return "";
}

std::string ReadBytes(std::string const& path, ByteTaker const& take) {
    bool wants_more = true;
    if (path == "-") {
        std::string problem = WhyNotALog(STDIN_FILENO);
        return problem.empty() ? ReadDescriptor(STDIN_FILENO, take, wants_more) : problem;
    }
    std::string const command = UnpackingCommand(path);
    if (!command.empty()) {
        return ReadUnpacked(path, command, take);
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
        bool is_known = false;
        std::string problem = Examine(file, read_files, is_known);
        close(file);
        if (!problem.empty() || is_known) {
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
