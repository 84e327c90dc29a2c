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
#include <limits>
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
// the thread that holds one may be waiting for this one to end. The object is small, for
// after a fork each page of the stack that is written to again has to be copied first.
class Buffer {
  public:
    Buffer() noexcept = default;
    ~Buffer() { Release(); }
    Buffer(Buffer const&) = delete;
    Buffer& operator=(Buffer const&) = delete;

    // Makes room for `wanted` bytes and keeps the first `kept` that are there. Returns
    // false, with all as it was, if there is no memory to be had.
    bool Reserve(std::size_t wanted, std::size_t kept) noexcept {
        if (wanted <= size) {
            return true;
        }
        void* const map =
            mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
        if (map == MAP_FAILED) {
            return false;
        }
        std::memcpy(map, bytes, kept);
        Release();
        bytes = static_cast<char*>(map);
        size = wanted;
        return true;
    }

    char* Data() noexcept { return bytes; }
    std::size_t Size() const noexcept { return size; }

  private:
    void Release() noexcept {
        if (bytes != inside) {
            munmap(bytes, size);
        }
    }

    char inside[512];
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

// Appends the number, with zeros before it where it has fewer than `width` digits, and
// returns the end.
char* AppendNumber(char* end, unsigned int number, int width) noexcept {
    char digits[std::numeric_limits<unsigned int>::digits10 + 1];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0 || count < width);
    return std::reverse_copy(digits, digits + count, end);
}

char* AppendText(char* end, std::string_view text) noexcept {
    return std::copy(text.begin(), text.end(), end);
}

// Appends time, level and process id, less than 100 bytes, and returns the end.
char* AppendHead(char* end, LOGLEVEL level) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    long long const seconds = now.tv_sec;
    Date const date = DateOfDay(seconds / 86400);
    auto const second = static_cast<unsigned int>(seconds % 86400);
    struct Field {
        unsigned int number;
        int width;
        char behind;
    };
    Field const fields[] = {{static_cast<unsigned int>(date.year), 4, '-'},
                            {static_cast<unsigned int>(date.month), 2, '-'},
                            {static_cast<unsigned int>(date.day), 2, 'T'},
                            {second / 3600, 2, ':'},
                            {second / 60 % 60, 2, ':'},
                            {second % 60, 2, '.'},
                            {static_cast<unsigned int>(now.tv_nsec / 1000000), 3, 'Z'}};
    for (Field const& field : fields) {
        end = AppendNumber(end, field.number, field.width);
        *end++ = field.behind;
    }
    *end++ = ' ';
    end = AppendText(end, Keyword(level));
    *end++ = ' ';
    end = AppendNumber(end, static_cast<unsigned int>(getpid()), 1);
    *end++ = ' ';
    return end;
}

bool IsControl(char byte) noexcept {
    auto const value = static_cast<unsigned char>(byte);
    return value < 0x20 || value == 0x7F;
}

// Gives the control bytes between `begin` and `end` the form \x0A, of which there are
// `escapes`, and returns the new end. Goes from the end to the begin, as the text grows.
char* Escape(char const* begin, char* end, std::size_t escapes) noexcept {
    char const* const digits = "0123456789ABCDEF";
    char* out = end + 3 * escapes;
    char* const new_end = out;
    while (out != end && end != begin) {
        char const byte = *--end;
        if (IsControl(byte)) {
            *--out = digits[byte % 16];
            *--out = digits[byte / 16];
            *--out = 'x';
            *--out = '\\';
        } else {
            *--out = byte;
        }
    }
    return new_end;
}

// A line that is being composed. Its first byte is a line feed, for where the line before
// was cut short, and is left out elsewhere.
class Line {
  public:
    explicit Line(LOGLEVEL level) noexcept {
        char* const begin = buffer.Data();
        *begin = '\n';
        length = static_cast<std::size_t>(AppendHead(begin + 1, level) - begin);
    }

    // Append the message, and end the line. Return false if there is no memory for that.
    //
    // What cannot be formatted is recorded as its bare format.
    bool AppendFormatted(char const* format, va_list arguments) noexcept {
        va_list again;
        va_copy(again, arguments);
        int const result = std::vsnprintf(buffer.Data() + length, buffer.Size() - length,
                                          format, arguments);
        auto const wanted =
            result < 0 ? std::strlen(format) : static_cast<std::size_t>(result);
        bool const is_complete = result >= 0 && wanted < buffer.Size() - length;
        bool const has_room = buffer.Reserve(length + wanted + 1, length);
        if (has_room && result < 0) {
            std::memcpy(buffer.Data() + length, format, wanted);
        } else if (has_room && !is_complete) {
            std::vsnprintf(buffer.Data() + length, wanted + 1, format, again);
        }
        va_end(again);
        return has_room && EscapeAndEnd(length + wanted);
    }

    std::string_view WithLineFeedBefore() noexcept { return {buffer.Data(), length}; }
    std::string_view Alone() noexcept { return {buffer.Data() + 1, length - 1}; }

  private:
    // The message is what lies between `length` and `end`.
    bool EscapeAndEnd(std::size_t end) noexcept {
        auto const escapes = static_cast<std::size_t>(
            std::count_if(buffer.Data() + length, buffer.Data() + end, IsControl));
        if (!buffer.Reserve(end + 3 * escapes + 1, end)) {
            return false;
        }
        char* const begin = buffer.Data();
        char* const new_end = Escape(begin + length, begin + end, escapes);
        *new_end = '\n';
        length = static_cast<std::size_t>(new_end + 1 - begin);
        return true;
    }

    Buffer buffer;
    std::size_t length = 0;
};

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
        Line line(level);
        if (line.AppendFormatted(format, arguments)) {
            Write(line);
        }
    }

  private:
    void Write(Line& line) noexcept {
        unsigned int const cuts_made = cuts.made.load(std::memory_order_relaxed);
        bool const ends_cut_line =
            cuts_made != cuts.ended.load(std::memory_order_relaxed);
        std::string_view const text =
            ends_cut_line ? line.WithLineFeedBefore() : line.Alone();
        ssize_t const written = LogFile(path).Write(text.data(), text.size());
        if (written <= 0) {
            return;
        }
        if (ends_cut_line) {
            cuts.ended.store(cuts_made, std::memory_order_relaxed);
        }
        if (text[static_cast<std::size_t>(written) - 1] != '\n') {
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
