#include "tools/launchlist_check/list_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace launchlist_check {

namespace {

// A million items take less.
constexpr std::size_t kMostBytes = 64UL * 1024 * 1024;

// A device with more than this is taken for one that never ends.
constexpr std::size_t kMostBytesOfADevice = 64UL * 1024;

constexpr int kForever = -1;           // milliseconds
constexpr int kWaitForAWriter = 1000;  // milliseconds

enum class ReadEnd { EndOfFile, Limit, Silence, Failure };

// A descriptor for reading, closed with the object unless it is the standard input.
class InputFile {
  public:
    // Opening a named pipe does not wait for its writer; in the launcher it does.
    explicit InputFile(std::string const& path)
        : is_standard_input(path == "-"),
          descriptor(is_standard_input
                         ? STDIN_FILENO
                         : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~InputFile() {
        if (!is_standard_input && descriptor >= 0) {
            close(descriptor);
        }
    }
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    bool IsOpen() const { return descriptor >= 0; }
    bool IsStandardInput() const { return is_standard_input; }
    // Returns true if the user can type what is read.
    bool IsTerminal() const {
        return is_standard_input ? isatty(descriptor) != 0
                                 : tcgetpgrp(descriptor) == getpgrp();
    }

    struct stat Status() const {
        struct stat status = {};
        fstat(descriptor, &status);
        return status;
    }

    // Appends what is read to `bytes`, and stops soon after that is longer than `limit`.
    // Waits `patience` milliseconds for each part. On failure it sets errno.
    ReadEnd Read(std::string& bytes, std::size_t limit, int patience) const {
        char chunk[65536];
        while (bytes.size() <= limit) {
            ssize_t const length = read(descriptor, chunk, sizeof chunk);
            if (length == 0) {
                return ReadEnd::EndOfFile;
            }
            if (length > 0) {
                bytes.append(chunk, static_cast<std::size_t>(length));
            } else if (errno == EAGAIN) {
                if (!Wait(patience)) {
                    return ReadEnd::Silence;
                }
            } else if (errno != EINTR) {
                return ReadEnd::Failure;
            }
        }
        return ReadEnd::Limit;
    }

    // Returns true if a named pipe has a writer, has had one since it was opened, or gets
    // one within a second. May append the first byte to `bytes`.
    bool FindsWriter(std::string& bytes) const {
        if (Wait(kWaitForAWriter)) {
            return true;
        }
        // Nobody has written. The file seems to be at its end only if nobody can write.
        char byte = 0;
        ssize_t const length = read(descriptor, &byte, 1);
        if (length > 0) {
            bytes += byte;
        }
        return length != 0;
    }

  private:
    // Waits for bytes or for the end of the file. Returns false after that many
    // milliseconds without either.
    bool Wait(int milliseconds) const {
        pollfd waiting = {descriptor, POLLIN, 0};
        return poll(&waiting, 1, milliseconds) != 0;
    }

    bool const is_standard_input;
    int const descriptor;
};

bool Fail(CheckResult& result, Outcome outcome, char const* kind,
          std::string const& message) {
    result.findings.Add({Severity::Error, kind, message, {}, {}});
    result.outcome = outcome;
    return false;
}

bool FailAsTooLarge(CheckResult& result) {
    return Fail(result, Outcome::Unknown, "too-large",
                "this is longer than 64 MiB, too long for a launch list: it is not "
                "checked");
}

bool FailAsUnreadable(CheckResult& result, int error) {
    if (error == EISDIR) {
        return Fail(result, Outcome::Hangs, "directory",
                    "this is a directory: the launcher reads it for ever, in a busy loop "
                    "that only SIGKILL ends");
    }
    return Fail(result, Outcome::Hangs, "unreadable",
                std::string("reading fails: ") + std::strerror(error) +
                    ": the launcher tries again for ever, in a busy loop that only "
                    "SIGKILL ends");
}

bool FailAsSilent(CheckResult& result) {
    return Fail(result, Outcome::Hangs, "device",
                "nothing comes from this device: the launcher waits for it");
}

bool ReadDevice(InputFile const& file, std::string& bytes, CheckResult& result) {
    switch (file.Read(bytes, kMostBytesOfADevice, kWaitForAWriter)) {
        case ReadEnd::EndOfFile:
            return true;
        case ReadEnd::Failure:
            return FailAsUnreadable(result, errno);
        case ReadEnd::Silence:
            return FailAsSilent(result);
        case ReadEnd::Limit:
            break;
    }
    return Fail(result, Outcome::Hangs, "device",
                "this device seems to have no end: the launcher reads it until the "
                "memory runs out");
}

}  // namespace

bool ReadListFile(std::string const& path, std::string& bytes, CheckResult& result) {
    InputFile const file(path);
    if (!file.IsOpen()) {
        return Fail(result, Outcome::Exits, "unreadable",
                    std::string("this cannot be opened: ") + std::strerror(errno) +
                        ": the launcher ends without a word, with exit code 0");
    }
    struct stat const status = file.Status();
    bytes.clear();
    if ((S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) && !file.IsTerminal()) {
        return ReadDevice(file, bytes, result);
    }
    if (S_ISFIFO(status.st_mode) && !file.IsStandardInput() && !file.FindsWriter(bytes)) {
        return Fail(result, Outcome::Hangs, "named-pipe",
                    "this is a named pipe that nobody writes to: the launcher waits for "
                    "a writer");
    }
    if (S_ISREG(status.st_mode)) {
        if (status.st_size > static_cast<off_t>(kMostBytes)) {
            return FailAsTooLarge(result);
        }
        bytes.reserve(static_cast<std::size_t>(status.st_size));
    }
    // Files in which the kernel answers may keep a reader waiting, too.
    int const patience = S_ISREG(status.st_mode) ? kWaitForAWriter : kForever;
    switch (file.Read(bytes, kMostBytes, patience)) {
        case ReadEnd::EndOfFile:
            return true;
        case ReadEnd::Silence:
            return FailAsSilent(result);
        case ReadEnd::Limit:
            return FailAsTooLarge(result);
        case ReadEnd::Failure:
            break;
    }
    return FailAsUnreadable(result, errno);
}

}  // namespace launchlist_check
