#include "tools/launchlist_check/program_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "tools/shared/printable.h"

namespace {

// Returns why the file may not be executed, whatever is in it.
std::string WhyNotPermitted(std::string const& path) {
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        return std::strerror(errno);
    }
    if (S_ISDIR(info.st_mode)) {
        return "it is a directory";
    }
    if (!S_ISREG(info.st_mode)) {
        return "it is no regular file";
    }
    if (access(path.c_str(), X_OK) != 0) {
        return errno == EACCES ? "this user may not execute it" : std::strerror(errno);
    }
    return "";
}

// Reads the first bytes of the file; returns false if this user may not read them.
bool ReadHead(std::string const& path, std::string& head) {
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return false;
    }
    char bytes[256];
    ssize_t const length = read(file, bytes, sizeof bytes);
    close(file);
    if (length >= 0) {
        head.assign(bytes, static_cast<std::size_t>(length));
    }
    return length >= 0;
}

// Returns what the first line names behind its "#!".
std::string Interpreter(std::string const& head) {
    std::string const line = head.substr(2, std::min(head.find('\n'), head.size()) - 2);
    std::size_t const begin = std::min(line.find_first_not_of(" \t"), line.size());
    std::size_t const end = std::min(line.find_first_of(" \t", begin), line.size());
    return line.substr(begin, end - begin);
}

// Says whether these can only be the bytes of a text.
bool IsText(std::string const& head) {
    return std::all_of(head.begin(), head.end(), [](char byte) {
        auto const value = static_cast<unsigned char>(byte);
        return value >= 0x20 ||
               (value != 0 && std::strchr("\t\n\v\f\r\x1B", byte) != nullptr);
    });
}

}  // namespace

std::string WhyNotExecutable(std::string const& path) {
    std::string reason = WhyNotPermitted(path);
    std::string head;
    if (!reason.empty() || !ReadHead(path, head)) {
        return reason;
    }
    if (head.empty()) {
        return "it is empty";
    }
    if (head.compare(0, 2, "#!") != 0) {
        return IsText(head) ? R"(it is a script without "#!" in its first line)" : "";
    }
    std::string const interpreter = Interpreter(head);
    if (interpreter.empty()) {
        return R"(it names no interpreter behind its "#!")";
    }
    std::string const why = WhyNotPermitted(interpreter);
    return why.empty() ? "" : "its interpreter " + Quoted(interpreter) + ": " + why;
}
