#include "common/config/process_helpers.h"

#include <sys/types.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {

// Closes the pipe if it is open. A shared handle releases null too, which pclose does not
// accept.
void CloseIfOpen(std::FILE* pipe) {
    if (pipe != nullptr) {
        pclose(pipe);
    }
}

// Returns true if the last read from `pipe` failed only because a signal handler ran.
bool WasInterrupted(std::FILE* pipe) {
    return std::ferror(pipe) != 0 && errno == EINTR;
}

}  // namespace

std::string pexec(std::string command) {
    std::string output;
    std::shared_ptr<std::FILE> const pipe(popen(command.c_str(), "r"), CloseIfOpen);
    if (pipe == nullptr) {
        throw std::runtime_error("popen() failed!");
    }
    char piece[128];
    while (std::feof(pipe.get()) == 0) {
        if (std::fgets(piece, sizeof piece, pipe.get()) != nullptr) {
            output += piece;
        } else if (!WasInterrupted(pipe.get())) {
            break;
        }
    }
    // Contract: the exit status is not looked at.
    return output;
}

bool IsRunningPID(long long pid) {
    // Contract: another user's process counts as not running.
    return kill(static_cast<pid_t>(pid), 0) == 0;
}
