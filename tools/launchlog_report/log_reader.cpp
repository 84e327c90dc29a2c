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

// Returns why the file cannot be read, in words; nothing if it is to be read, or passed
// over because it was read before.
std::string Examine(int file, ReadFiles& read_files, bool& is_passed_over) {
    struct stat info = {};
    if (fstat(file, &info) != 0) {
        return std::strerror(errno);
    }
    if (S_ISDIR(info.st_mode)) {
        return std::strerror(EISDIR);
    }
    // Only a regular file is the same when it is read again.
    is_passed_over =
        S_ISREG(info.st_mode) && !read_files.insert({info.st_dev, info.st_ino}).second;
    return "";
}

std::string ReadDescriptor(int file, LineSplitter& lines) {
    char bytes[65536];
    ssize_t length = 0;
    while ((length = read(file, bytes, sizeof bytes)) != 0) {
        if (length > 0) {
            lines.Add(bytes, static_cast<std::size_t>(length));
        } else if (errno != EINTR) {
            return std::strerror(errno);
        }
    }
    return "";
}

std::string ReadUnpacked(std::string const& path, std::string const& command,
                         LineSplitter& lines) {
    std::FILE* const pipe = popen((command + " <" + QuotedForShell(path)).c_str(), "r");
    if (pipe == nullptr) {
        return std::strerror(errno);
    }
    std::string const problem = ReadDescriptor(fileno(pipe), lines);
    bool const failed = pclose(pipe) != 0;
    return problem.empty() && failed ? "\"" + command + "\" failed" : problem;
}

}  // namespace

void LineSplitter::Add(char const* bytes, std::size_t size) {
    for (std::size_t begin = 0; begin < size;) {
        auto const* const feed =
            static_cast<char const*>(std::memchr(bytes + begin, '\n', size - begin));
        std::size_t const end =
            feed == nullptr ? size : static_cast<std::size_t>(feed - bytes);
        std::size_t const room = kLongestLine - line.size();
        line.append(bytes + begin, std::min(room, end - begin));
        if (feed != nullptr) {
            take(line);
            line.clear();
        }
        begin = end + 1;
    }
}

void LineSplitter::Finish() {
    if (!line.empty()) {
        take(line);
        line.clear();
    }
}

std::string ReadLines(std::string const& path, LineTaker const& take,
                      ReadFiles& read_files) {
    LineSplitter lines(take);
    if (path == "-") {
        std::string problem = ReadDescriptor(STDIN_FILENO, lines);
        lines.Finish();
        return problem;
    }
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return std::strerror(errno);
    }
    bool is_passed_over = false;
    std::string problem = Examine(file, read_files, is_passed_over);
    if (problem.empty() && !is_passed_over) {
        std::string const command = UnpackingCommand(path);
        problem = command.empty() ? ReadDescriptor(file, lines)
                                  : ReadUnpacked(path, command, lines);
    }
    close(file);
    lines.Finish();
    return problem;
}

LiveLog::LiveLog(std::string log_path, LineTaker const& take)
    : path(std::move(log_path)), lines(take) {}

LiveLog::~LiveLog() {
    Close();
}

std::string LiveLog::Open(ReadFiles& read_files) {
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return std::strerror(errno);
    }
    std::string problem = Examine(file, read_files, is_passed_over);
    if (!problem.empty() || is_passed_over) {
        Close();
    }
    return problem;
}

void LiveLog::Read() {
    if (is_passed_over) {
        return;
    }
    if (file >= 0) {
        ReadToEnd();
    }
    if (!WasReplaced()) {
        return;
    }
    if (file >= 0) {
        // The last lines came after the end was seen.
        ReadToEnd();
        lines.Finish();
        Close();
    }
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file >= 0) {
        ReadToEnd();
    }
}

void LiveLog::ReadToEnd() {
    struct stat info = {};
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_size < offset) {
        // It was emptied in its place.
        lines.Finish();
        offset = lseek(file, 0, SEEK_SET);
    }
    char bytes[65536];
    ssize_t length = 0;
    while ((length = read(file, bytes, sizeof bytes)) > 0) {
        lines.Add(bytes, static_cast<std::size_t>(length));
        offset += length;
    }
}

bool LiveLog::WasReplaced() const {
    struct stat at_path = {};
    struct stat opened = {};
    if (stat(path.c_str(), &at_path) != 0 || S_ISDIR(at_path.st_mode)) {
        return false;
    }
    return file < 0 || fstat(file, &opened) != 0 || at_path.st_dev != opened.st_dev ||
           at_path.st_ino != opened.st_ino;
}

void LiveLog::Close() {
    if (file >= 0) {
        close(file);
        file = -1;
        offset = 0;
    }
}
