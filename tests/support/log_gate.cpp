#include "tests/support/log_gate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/system_call.h"

LogGate::LogGate(std::filesystem::path const& log_file) : path(log_file) {
    std::filesystem::create_directories(path.parent_path());
    if (mkfifo(path.c_str(), 0666) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

LogGate::~LogGate() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

bool LogGate::WaitUntilBlocked(pid_t process, int count) const {
    return WaitFor([=] {
        std::vector<pid_t> const threads = ThreadsOf(process);
        return std::count_if(threads.begin(), threads.end(), [process](pid_t thread) {
                   return IsOpening(SystemCallOf(process, thread));
               }) == count;
    });
}

void LogGate::MoveAway() {
    std::filesystem::path const old_path = path;
    path += ".moved";
    std::filesystem::rename(old_path, path);
}

// Opens it for writing too, so that reading neither waits for a writer nor finds an end.
void LogGate::Open() {
    descriptor = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

std::vector<std::string> LogGate::Log() {
    char buffer[65536];
    for (;;) {
        ssize_t const size = read(descriptor, buffer, sizeof buffer);
        if (size <= 0) {
            break;
        }
        text.append(buffer, static_cast<std::size_t>(size));
    }
    std::vector<std::string> lines = Lines(text);
    for (std::string& line : lines) {
        line.erase(0, line.find(' ') + 1);
    }
    return lines;
}
