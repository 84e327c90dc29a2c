#include "liblogger/log_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace liblogger {

namespace {

// Repeats a system call for as long as signal handlers of the program interrupt it.
template <typename Call>
auto RetryIfInterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace

LogFile::LogFile(std::string const& path) noexcept
    : descriptor(RetryIfInterrupted([&path] {
          return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
      })) {
    // A process that closed its standard streams must not find the log in their place.
    if (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        int const low = descriptor;
        descriptor = fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(low);
    }
}

LogFile::~LogFile() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

ssize_t LogFile::Write(char const* text, std::size_t length) const noexcept {
    return descriptor < 0
               ? -1
               : RetryIfInterrupted([=] { return write(descriptor, text, length); });
}

}  // namespace liblogger
