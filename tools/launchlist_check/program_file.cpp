#include "tools/launchlist_check/program_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "tools/launchlist_check/message.h"

namespace launchlist_check {

namespace {

// Returns why the file may not be executed, whatever its content is; an empty string if
// it may.
std::string WhyNotPermitted(std::string const& path) {
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        return std::strerror(errno);
    }
    if (S_ISDIR(info.st_mode)) {
        return "it is a directory";
    }
    if (!S_ISREG(info.st_mode)) {
        return "it is not a regular file";
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

// Returns what the first line names after its "#!".
std::string Interpreter(std::string const& head) {
    std::string const line = head.substr(2, std::min(head.find('\n'), head.size()) - 2);
    std::size_t const begin = std::min(line.find_first_not_of(" \t"), line.size());
    std::size_t const end = std::min(line.find_first_of(" \t", begin), line.size());
    return line.substr(begin, end - begin);
}

// Returns true if there are only bytes that a text has.
bool IsText(std::string const& head) {
    return std::all_of(head.begin(), head.end(), [](char byte) {
        auto const value = static_cast<unsigned char>(byte);
        return value >= 0x20 ||
               (value != 0 && std::strchr("\t\n\v\f\r\x1B", byte) != nullptr);
    });
}

// Returns the processor that an ELF file is for, by the number in its header.
std::string ElfProcessor(unsigned machine) {
    switch (machine) {
        case 3:
            return "i386";
        case 20:
        case 21:
            return "PowerPC";
        case 22:
            return "s390";
        case 40:
            return "ARM";
        case 62:
            return "x86-64";
        case 183:
            return "AArch64";
        case 243:
            return "RISC-V";
        default:
            return "processor " + std::to_string(machine);
    }
}

char const* const kElfMark =
    "\x7F"
    "ELF";

// Returns what an ELF file is that begins with `head`.
std::string ElfFormat(std::string const& head) {
    constexpr std::size_t kByteOrder = 5;
    constexpr std::size_t kType = 16;
    constexpr std::size_t kMachine = 18;
    constexpr unsigned kObjectFile = 1;
    constexpr unsigned kCoreFile = 4;
    if (head.size() < kMachine + 2) {
        return "the beginning of an ELF file";
    }
    auto const number = [&head](std::size_t place) {
        std::size_t const high = head[kByteOrder] == 2 ? 0 : 1;
        return static_cast<unsigned char>(head[place + high]) * 256U +
               static_cast<unsigned char>(head[place + 1 - high]);
    };
    switch (number(kType)) {
        case kObjectFile:
            return "an object file";
        case kCoreFile:
            return "a core file";
        default:
            return "an ELF file for " + ElfProcessor(number(kMachine));
    }
}

// Returns what a file is that begins with `head`, as FileFormat does.
std::string FormatOf(std::string const& head) {
    std::string const mark = head.substr(0, 4);
    if (mark == kElfMark) {
        return ElfFormat(head);
    }
    for (char const* const mach_o :
         {"\xCF\xFA\xED\xFE", "\xCE\xFA\xED\xFE", "\xFE\xED\xFA\xCF", "\xFE\xED\xFA\xCE",
          "\xCA\xFE\xBA\xBE"}) {
        if (mark == mach_o) {
            return "a Mach-O file";
        }
    }
    return mark.substr(0, 2) == "MZ" ? "a program for Windows" : "";
}

// Returns why the system does not execute a text without "#!".
std::string WhyNoScript(std::string const& head) {
    std::string const format = FormatOf(head);
    return format.empty() ? R"(it is a script without "#!" in its first line)"
                          : "it is " + format;
}

// Interpreters may have interpreters. No system follows more of them.
constexpr int kMostInterpreters = 8;

std::string WhyNotExecutableAt(std::string const& path, int level) {
    std::string reason = WhyNotPermitted(path);
    std::string head;
    if (!reason.empty() || !ReadHead(path, head) || level == kMostInterpreters) {
        return reason;
    }
    if (head.empty()) {
        return "it is empty";
    }
    if (head.compare(0, 2, "#!") != 0) {
        return IsText(head) ? WhyNoScript(head) : "";
    }
    std::string const interpreter = Interpreter(head);
    if (interpreter.empty()) {
        return R"(it names no interpreter after its "#!")";
    }
    std::string const why = WhyNotExecutableAt(interpreter, level + 1);
    return why.empty() ? "" : "its interpreter " + Quote(interpreter) + ": " + why;
}

}  // namespace

std::string WhyNotExecutable(std::string const& path) {
    return WhyNotExecutableAt(path, 0);
}

std::string FileFormat(std::string const& path) {
    std::string head;
    return ReadHead(path, head) ? FormatOf(head) : "";
}

bool IsForThisMachine(std::string const& path) {
    std::string own;
    std::string other;
    if (!ReadHead("/proc/self/exe", own) || !ReadHead(path, other)) {
        return false;
    }
    // The first six bytes are the mark, the word size and the byte order.
    return FormatOf(own) == FormatOf(other) && own.compare(0, 6, other, 0, 6) == 0;
}

}  // namespace launchlist_check
