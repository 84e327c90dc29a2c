// The logging library for machines that lack the application's own.
//
// Its callers are many threads, processes forked from a threaded process, and threads
// that are being joined from inside a signal handler. So it holds no lock and no open
// file, allocates no memory for a line, and asks nothing of the C library that could
// wait for another thread. A line is
//
//   2026-01-31T23:59:59.007Z ERROR 4711 [LAUNCHER  ] agent 4712 is killed. ret = ...
//
// that is time in UTC, level, process id and message, and is one write to a file opened
// for it in append mode. So lines never mix, and a log file that was renamed or removed
// is made anew by the next line.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/config/log.h"

namespace {

// Keeps the caller's errno, which a log call does not disturb.
class ErrnoKeeper {
  public:
    ErrnoKeeper() noexcept : kept(errno) {}
    ~ErrnoKeeper() { errno = kept; }
    ErrnoKeeper(ErrnoKeeper const&) = delete;
    ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;

  private:
    int const kept;
};

// Room for text. More than fits into the object itself is mapped: malloc has locks, and
// the thread that holds one may be waiting for this one to end.
class Buffer {
  public:
    Buffer() noexcept = default;
    ~Buffer() {
        if (bytes != inside) {
            munmap(bytes, size);
        }
    }
    Buffer(Buffer const&) = delete;
    Buffer& operator=(Buffer const&) = delete;

    // Makes room for `wanted` bytes; what the buffer held is lost. Returns false if
    // there is no memory to be had. To be called once.
    bool Reserve(std::size_t wanted) noexcept {
        if (wanted <= size) {
            return true;
        }
        void* const map =
            mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
        if (map == MAP_FAILED) {
            return false;
        }
        bytes = static_cast<char*>(map);
        size = wanted;
        return true;
    }

    char* Data() noexcept { return bytes; }
    std::size_t Size() const noexcept { return size; }

  private:
    char inside[4096];
    char* bytes = inside;
    std::size_t size = sizeof inside;
};

// Makes a system call anew as long as signal handlers of the program interrupt it.
template <typename Call>
auto RetryIfInterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// An open log file, closed with the object.
class LogFile {
  public:
    explicit LogFile(std::string const& path) noexcept
        : descriptor(RetryIfInterrupted([&path] {
              return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
          })) {
        // A process that closed its standard streams must not find a log in their place.
        if (descriptor >= 0 && descriptor <= STDERR_FILENO) {
            int const low = descriptor;
            descriptor = fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            close(low);
        }
    }
    ~LogFile() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    // Returns the number of bytes written, -1 if there were none.
    ssize_t Write(char const* text, std::size_t length) const noexcept {
        return descriptor < 0
                   ? -1
                   : RetryIfInterrupted([=] { return write(descriptor, text, length); });
    }

  private:
    int descriptor;
};

struct Date {
    int year;
    int month;
    int day;
};

// Returns the Gregorian date `days` days after 1970-01-01. The C library's own
// conversions take a lock, which a fork can leave held for ever in the child.
//
// Years are counted from March, so that the leap day ends the year, and in eras of 400
// years, which all have the same 146,097 days.
Date DateOfDay(long long days) noexcept {
    long long const shifted = days + 719468;  // from 0000-03-01
    long long const era = shifted / 146097;
    long long const day_of_era = shifted % 146097;
    long long const year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    long long const day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    long long const month = (5 * day_of_year + 2) / 153;  // 0 is March
    return {static_cast<int>(era * 400 + year_of_era + (month >= 10 ? 1 : 0)),
            static_cast<int>(month < 10 ? month + 3 : month - 9),
            static_cast<int>(day_of_year - (153 * month + 2) / 5 + 1)};
}

char const* Keyword(LOGLEVEL level) noexcept {
    switch (level) {
        case LOGLEVEL_DEBUG:
            return "DEBUG";
        case LOGLEVEL_MESSAGE:
            return "MESSAGE";
        case LOGLEVEL_WARNING:
            return "WARNING";
        case LOGLEVEL_ERROR:
            return "ERROR";
        case LOGLEVEL_CRITICAL:
            return "CRITICAL";
        case LOGLEVEL_VERBOSE:
            return "VERBOSE";
    }
    return "UNKNOWN";
}

constexpr std::size_t kHeadSize = 96;

// Writes time, level and process id to `head`, and returns their length.
std::size_t FormatHead(char (&head)[kHeadSize], LOGLEVEL level) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    long long const seconds = now.tv_sec;
    Date const date = DateOfDay(seconds / 86400);
    int const second = static_cast<int>(seconds % 86400);
    int const length = std::snprintf(
        head, sizeof head, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ %s %d ", date.year,
        date.month, date.day, second / 3600, second / 60 % 60, second % 60,
        static_cast<int>(now.tv_nsec / 1000000), Keyword(level), getpid());
    return static_cast<std::size_t>(length);
}

bool IsControl(char byte) noexcept {
    auto const value = static_cast<unsigned char>(byte);
    return value < 0x20 || value == 0x7F;
}

// Copies the message to `out`, control bytes in the form \x0A, and returns the end.
char* CopyEscaped(std::string_view message, char* out) noexcept {
    char const* const digits = "0123456789ABCDEF";
    for (char const byte : message) {
        if (IsControl(byte)) {
            *out++ = '\\';
            *out++ = 'x';
            *out++ = digits[byte / 16];
            *out++ = digits[byte % 16];
        } else {
            *out++ = byte;
        }
    }
    return out;
}

// Formats into `buffer` and returns the text, whose data is null if there is no memory
// for it. What cannot be formatted is recorded as its bare format.
std::string_view Format(Buffer& buffer, char const* format, va_list arguments) noexcept {
    va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(buffer.Data(), buffer.Size(), format, arguments);
    std::string_view text;
    if (length < 0) {
        text = format;
    } else if (static_cast<std::size_t>(length) < buffer.Size()) {
        text = {buffer.Data(), static_cast<std::size_t>(length)};
    } else if (buffer.Reserve(static_cast<std::size_t>(length) + 1)) {
        std::vsnprintf(buffer.Data(), buffer.Size(), format, again);
        text = {buffer.Data(), static_cast<std::size_t>(length)};
    }
    va_end(again);
    return text;
}

// The lines in whose middle the disk filled up, and how many of them have been ended
// since, so that what follows stands on a line of its own.
struct Cuts {
    std::atomic<unsigned int> made{0};
    std::atomic<unsigned int> ended{0};
};

// Returns counts that the forked children of this process share, for a line that one of
// them leaves unfinished is followed by one of another process; null if there is no
// memory for them. They are never given back.
Cuts* ShareCuts() noexcept {
    void* const map =
        mmap(nullptr, sizeof(Cuts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0);
    return map == MAP_FAILED ? nullptr : new (map) Cuts;
}

class Log final : public ILog {
  public:
    Log(std::string file_path, LOGLEVEL least_level, Cuts& shared_cuts)
        : path(std::move(file_path)), least(least_level), cuts(shared_cuts) {}

    void Reserved0() override {}
    void Reserved1() override {}

    void LogV(LOGLEVEL level, char const* format, va_list arguments) override {
        if (level < least && least != LOGLEVEL_VERBOSE) {
            return;
        }
        ErrnoKeeper const errno_keeper;
        Buffer message;
        std::string_view const text = Format(message, format, arguments);
        if (text.data() != nullptr) {
            WriteLine(level, text);
        }
    }

  private:
    void WriteLine(LOGLEVEL level, std::string_view message) noexcept {
        char head[kHeadSize];
        std::size_t const head_length = FormatHead(head, level);
        auto const escapes = static_cast<std::size_t>(
            std::count_if(message.begin(), message.end(), IsControl));
        Buffer line;
        if (!line.Reserve(1 + head_length + message.size() + 3 * escapes + 1)) {
            return;
        }
        char* end = line.Data();
        unsigned int const cuts_made = cuts.made.load(std::memory_order_relaxed);
        bool const ends_cut_line =
            cuts_made != cuts.ended.load(std::memory_order_relaxed);
        if (ends_cut_line) {
            *end++ = '\n';
        }
        end = std::copy_n(head, head_length, end);
        end = CopyEscaped(message, end);
        *end++ = '\n';
        auto const size = static_cast<std::size_t>(end - line.Data());
        ssize_t const written = LogFile(path).Write(line.Data(), size);
        if (written <= 0) {
            return;
        }
        if (ends_cut_line) {
            cuts.ended.store(cuts_made, std::memory_order_relaxed);
        }
        if (line.Data()[written - 1] != '\n') {
            cuts.made.fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::string const path;
    LOGLEVEL const least;
    Cuts& cuts;
};

// Set by InitLogger and read by GetLogger, on the main thread.
std::string log_directory;

}  // namespace

extern "C" [[gnu::visibility("default")]] int InitLogger(char const* directory) {
    if (directory == nullptr || *directory == '\0') {
        return EINVAL;
    }
    try {
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        std::string const inside = std::string(directory) + "/.";
        if (access(inside.c_str(), W_OK | X_OK) != 0) {
            return error ? error.value() : errno;
        }
        log_directory = directory;
        return 0;
    } catch (std::bad_alloc const&) {
        return ENOMEM;
    }
}

extern "C" [[gnu::visibility("default")]] int GetLogger(int /*kind*/, char const* name,
                                                        LOGLEVEL level, ILog** result) {
    if (name == nullptr || *name == '\0' || std::strchr(name, '/') != nullptr ||
        result == nullptr || log_directory.empty()) {
        return EINVAL;
    }
    try {
        std::string path = log_directory + "/" + name + ".log";
        Cuts* const cuts = ShareCuts();
        if (cuts == nullptr) {
            return ENOMEM;
        }
        // Never deleted: threads may log until the very end of the process.
        *result = new Log(std::move(path), level, *cuts);
        return 0;
    } catch (std::bad_alloc const&) {
        return ENOMEM;
    }
}
