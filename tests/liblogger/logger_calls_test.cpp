// What the library asks of the system. This program defines open, write and
// clock_gettime, and the dynamic linker prefers its definitions to the C library's.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "harness/proc.h"
#include "tests/liblogger/log_directory.h"

namespace {

using testing::ElementsAre;
using testing::SizeIs;

using WriteFunction = std::function<ssize_t(int, void const*, std::size_t)>;

// What replaces the calls; null for the system's own. The running test sets them, on its
// one thread.
WriteFunction g_write;
int g_interrupted_opens = 0;  // so many fail before one is made
std::optional<timespec> g_time;

ssize_t SystemWrite(int descriptor, void const* bytes, std::size_t size) {
    return syscall(SYS_write, descriptor, bytes, size);
}

}  // namespace

extern "C" ssize_t write(int descriptor, void const* bytes, std::size_t size) {
    WriteFunction const replacement = g_write;  // which may set g_write
    return replacement ? replacement(descriptor, bytes, size)
                       : SystemWrite(descriptor, bytes, size);
}

extern "C" int open(char const* path, int flags, ...) {
    if (g_interrupted_opens > 0) {
        --g_interrupted_opens;
        errno = EINTR;
        return -1;
    }
    va_list arguments;
    va_start(arguments, flags);
    mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock == CLOCK_REALTIME && g_time) {
        *time = *g_time;
        return 0;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

class LogCalls : public testing::Test {
  protected:
    ~LogCalls() override {
        g_write = nullptr;
        g_time.reset();
    }

    LogDirectory const directory{};
    ILog* const log = directory.OpenLog();
};

struct WriteCall {
    int descriptor;
    int descriptor_flags;
    int file_flags;
    std::string bytes;
};

// Notes the calls of write, and makes them.
WriteFunction NoteInto(std::vector<WriteCall>& calls) {
    return [&calls](int descriptor, void const* bytes, std::size_t size) {
        calls.push_back({descriptor, fcntl(descriptor, F_GETFD),
                         fcntl(descriptor, F_GETFL),
                         std::string(static_cast<char const*>(bytes), size)});
        return SystemWrite(descriptor, bytes, size);
    };
}

// Writes no more than the first `size` bytes.
WriteFunction CutAfter(std::size_t size) {
    return [size](int descriptor, void const* bytes, std::size_t wanted) {
        return SystemWrite(descriptor, bytes, std::min(size, wanted));
    };
}

ssize_t FailToWrite(int /*descriptor*/, void const* /*bytes*/, std::size_t /*size*/) {
    errno = ENOSPC;
    return -1;
}

TEST_F(LogCalls, ALineIsOneWriteAtTheEndOfAFileThatIsClosedOnExec) {
    for (std::string const& message :
         {std::string("short"), std::string(5000, 'm'), std::string(1 << 20, 'l'),
          std::string(3000, '\n')}) {
        std::vector<WriteCall> calls;
        g_write = NoteInto(calls);
        __LOG__A(log, LOGLEVEL_ERROR, "%s", message.c_str());
        g_write = nullptr;
        ASSERT_THAT(calls, SizeIs(1));
        EXPECT_GT(calls[0].descriptor, 2);
        EXPECT_EQ(calls[0].descriptor_flags, FD_CLOEXEC);
        EXPECT_EQ(calls[0].file_flags & O_ACCMODE, O_WRONLY);
        EXPECT_NE(calls[0].file_flags & O_APPEND, 0);
        EXPECT_TRUE(calls[0].bytes == ReadFile(directory.File()));
        EXPECT_EQ(fcntl(calls[0].descriptor, F_GETFD), -1) << "left open";
        std::filesystem::remove(directory.File());
    }
}

TEST_F(LogCalls, AMessageBelowTheLevelIsNoCall) {
    ILog* const quiet = directory.OpenLog(LOGLEVEL_ERROR);
    std::vector<WriteCall> calls;
    g_write = NoteInto(calls);
    __LOG__A(quiet, LOGLEVEL_DEBUG, "a message");
    EXPECT_THAT(calls, SizeIs(0));
    EXPECT_FALSE(std::filesystem::exists(directory.File()));
}

// Closes those of the descriptors 0 to 2 whose bit is set in `closed`; the destructor
// opens them again.
class ClosedStreams {
  public:
    explicit ClosedStreams(unsigned int closed) {
        for (int descriptor = 0; descriptor <= 2; ++descriptor) {
            kept[descriptor] = fcntl(descriptor, F_DUPFD_CLOEXEC, 10);
            if ((closed >> descriptor & 1U) != 0) {
                close(descriptor);
            }
        }
    }
    ~ClosedStreams() {
        for (int descriptor = 0; descriptor <= 2; ++descriptor) {
            dup2(kept[descriptor], descriptor);
            close(kept[descriptor]);
        }
    }
    ClosedStreams(ClosedStreams const&) = delete;
    ClosedStreams& operator=(ClosedStreams const&) = delete;

  private:
    int kept[3] = {};
};

// Returns the bits of those of the descriptors 0 to 2 that are closed.
unsigned int ClosedNow() {
    unsigned int closed = 0;
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        closed |= (fcntl(descriptor, F_GETFD) == -1 ? 1U : 0U) << descriptor;
    }
    return closed;
}

TEST_F(LogCalls, StandardStreamsThatWereClosedStayClosedAndAreNotWrittenThrough) {
    for (unsigned int closed = 0; closed < 8; ++closed) {
        std::vector<WriteCall> calls;
        unsigned int closed_after = 0;
        {
            ClosedStreams const streams(closed);
            g_write = NoteInto(calls);
            __LOG__A(log, LOGLEVEL_ERROR, "%u", closed);
            g_write = nullptr;
            closed_after = ClosedNow();
        }
        EXPECT_EQ(closed_after, closed);
        ASSERT_THAT(calls, SizeIs(1)) << closed;
        EXPECT_GT(calls[0].descriptor, 2) << closed;
        EXPECT_EQ(calls[0].descriptor_flags, FD_CLOEXEC) << closed;
    }
    EXPECT_THAT(ReadMessages(directory.File()),
                ElementsAre("0", "1", "2", "3", "4", "5", "6", "7"));
}

TEST_F(LogCalls, ALineIsLostIfOnlyAStandardStreamsDescriptorIsFree) {
    __LOG__A(log, LOGLEVEL_ERROR, "first");
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit const three = {3, limit.rlim_max};
    std::vector<WriteCall> calls;
    unsigned int closed_after = 0;
    {
        ClosedStreams const streams(1);
        setrlimit(RLIMIT_NOFILE, &three);
        g_write = NoteInto(calls);
        __LOG__A(log, LOGLEVEL_ERROR, "lost");
        g_write = nullptr;
        closed_after = ClosedNow();
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    EXPECT_EQ(closed_after, 1U);
    EXPECT_THAT(calls, SizeIs(0));
    __LOG__A(log, LOGLEVEL_ERROR, "third");
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("first", "third"));
}

TEST_F(LogCalls, NoDescriptorStaysOpen) {
    std::size_t const before = CountDescriptors(getpid());
    for (int i = 0; i < 100; ++i) {
        __LOG__A(log, LOGLEVEL_ERROR, "%d", i);
        g_write = FailToWrite;
        __LOG__A(log, LOGLEVEL_ERROR, "%d", i);
        g_write = nullptr;
        ClosedStreams const streams(7);
        __LOG__A(log, LOGLEVEL_ERROR, "%d", i);
    }
    EXPECT_EQ(CountDescriptors(getpid()), before);
}

TEST_F(LogCalls, AFailedWriteLosesItsLineAloneAndKeepsErrno) {
    __LOG__A(log, LOGLEVEL_ERROR, "first");
    g_write = FailToWrite;
    errno = 4711;
    __LOG__A(log, LOGLEVEL_ERROR, "lost");
    EXPECT_EQ(errno, 4711);
    g_write = nullptr;
    __LOG__A(log, LOGLEVEL_ERROR, "third");
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("first", "third"));
}

TEST_F(LogCalls, AWriteThatFailsOrIsCutShortIsNotRepeated) {
    for (ssize_t result : {-1, 0, 10}) {
        int calls = 0;
        g_write = [&calls, result](int, void const*, std::size_t) {
            ++calls;
            errno = EAGAIN;
            return result;
        };
        __LOG__A(log, LOGLEVEL_ERROR, "a line");
        EXPECT_EQ(calls, 1) << result;
    }
}

TEST_F(LogCalls, AnOpenOrAWriteThatASignalInterruptsIsMadeAnew) {
    g_interrupted_opens = 2;
    int interrupted_writes = 2;
    g_write = [&interrupted_writes](int descriptor, void const* bytes, std::size_t size) {
        if (interrupted_writes > 0) {
            --interrupted_writes;
            errno = EINTR;
            return ssize_t{-1};
        }
        return SystemWrite(descriptor, bytes, size);
    };
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    EXPECT_EQ(g_interrupted_opens, 0);
    EXPECT_EQ(interrupted_writes, 0);
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("a line"));
}

// Returns the lines of the file without their time, level and process id.
std::vector<std::string> Shortened(std::filesystem::path const& file) {
    std::vector<std::string> lines = SplitLines(ReadFile(file));
    for (std::string& line : lines) {
        std::size_t const head = line.find(" ERROR ");
        if (head == 24) {
            line.erase(0, line.find(' ', head + 7) + 1);
        }
    }
    return lines;
}

constexpr std::size_t kWithinTime = 4;
constexpr char kCutLine[] = "2000";

// Logs a line of the year 2000, of which only kCutLine is written.
void LogCutLine(ILog* log) {
    g_time = timespec{951782400, 0};
    g_write = CutAfter(kWithinTime);
    __LOG__A(log, LOGLEVEL_ERROR, "cut");
    g_write = nullptr;
}

TEST_F(LogCalls, AfterALineThatWasCutShortTheNextOneBeginsANewLine) {
    LogCutLine(log);
    __LOG__A(log, LOGLEVEL_ERROR, "second");
    __LOG__A(log, LOGLEVEL_ERROR, "third");
    EXPECT_THAT(Shortened(directory.File()), ElementsAre(kCutLine, "second", "third"));
}

TEST_F(LogCalls, AfterACutLineAndLostOnesTheNextOneBeginsANewLine) {
    LogCutLine(log);
    g_write = FailToWrite;
    __LOG__A(log, LOGLEVEL_ERROR, "lost");
    __LOG__A(log, LOGLEVEL_ERROR, "lost as well");
    g_write = CutAfter(0);
    __LOG__A(log, LOGLEVEL_ERROR, "lost in another way");
    g_write = nullptr;
    __LOG__A(log, LOGLEVEL_ERROR, "next");
    __LOG__A(log, LOGLEVEL_ERROR, "last");
    EXPECT_THAT(Shortened(directory.File()), ElementsAre(kCutLine, "next", "last"));
}

TEST_F(LogCalls, ACutAtALinesEndLeavesNoEmptyLine) {
    LogCutLine(log);
    g_write = CutAfter(1);
    __LOG__A(log, LOGLEVEL_ERROR, "nothing of this but the end of the line before");
    g_write = nullptr;
    __LOG__A(log, LOGLEVEL_ERROR, "next");
    EXPECT_THAT(Shortened(directory.File()), ElementsAre(kCutLine, "next"));
}

TEST_F(LogCalls, ALineThatLacksOnlyItsEndIsEndedByTheNextOne) {
    g_write = [](int descriptor, void const* bytes, std::size_t size) {
        return SystemWrite(descriptor, bytes, size - 1);
    };
    __LOG__A(log, LOGLEVEL_ERROR, "first");
    __LOG__A(log, LOGLEVEL_ERROR, "second");
    g_write = nullptr;
    __LOG__A(log, LOGLEVEL_ERROR, "third");
    EXPECT_THAT(Shortened(directory.File()), ElementsAre("first", "second", "third"));
}

TEST_F(LogCalls, AnotherThreadsLineBeforeTheOneThatBeginsANewLineDoesSoToo) {
    LogCutLine(log);
    g_write = [this](int descriptor, void const* bytes, std::size_t size) {
        g_write = nullptr;
        __LOG__A(log, LOGLEVEL_ERROR, "overtakes");
        return SystemWrite(descriptor, bytes, size);
    };
    __LOG__A(log, LOGLEVEL_ERROR, "composed first");
    __LOG__A(log, LOGLEVEL_ERROR, "last");
    // Neither of the two lines could know of the other.
    EXPECT_THAT(Shortened(directory.File()),
                ElementsAre(kCutLine, "overtakes", "", "composed first", "last"));
}

TEST_F(LogCalls, AnotherThreadsCutRightAfterTheLineThatBeginsANewOneIsNotForgotten) {
    LogCutLine(log);
    g_write = [this](int descriptor, void const* bytes, std::size_t size) {
        ssize_t const result = SystemWrite(descriptor, bytes, size);
        g_write = CutAfter(1 + kWithinTime);
        __LOG__A(log, LOGLEVEL_ERROR, "cut as well");
        return result;
    };
    __LOG__A(log, LOGLEVEL_ERROR, "second");
    g_write = nullptr;
    __LOG__A(log, LOGLEVEL_ERROR, "last");
    EXPECT_THAT(Shortened(directory.File()),
                ElementsAre(kCutLine, "second", "", kCutLine, "last"));
}

TEST_F(LogCalls, ALineComposedBeforeAnotherThreadsCutWasEndedLeavesNoEmptyLine) {
    g_time = timespec{951782400, 0};
    g_write = [this](int descriptor, void const* bytes, std::size_t size) {
        g_write = CutAfter(kWithinTime);
        __LOG__A(log, LOGLEVEL_ERROR, "cut");
        g_write = nullptr;
        __LOG__A(log, LOGLEVEL_ERROR, "ends it");
        return SystemWrite(descriptor, bytes, size);
    };
    __LOG__A(log, LOGLEVEL_ERROR, "composed first");
    __LOG__A(log, LOGLEVEL_ERROR, "last");
    EXPECT_THAT(Shortened(directory.File()),
                ElementsAre(kCutLine, "ends it", "composed first", "last"));
}

TEST_F(LogCalls, TheCutLineOfAForkedChildIsEndedByItsParent) {
    pid_t const child = fork();
    if (child == 0) {
        LogCutLine(log);
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    __LOG__A(log, LOGLEVEL_ERROR, "parent");
    __LOG__A(log, LOGLEVEL_ERROR, "last");
    EXPECT_THAT(Shortened(directory.File()), ElementsAre(kCutLine, "parent", "last"));
}

// Returns the time in a line that is logged at `time`.
std::string TimeIn(ILog* log, timespec time) {
    std::string line;
    g_time = time;
    g_write = [&line](int, void const* bytes, std::size_t size) {
        line.assign(static_cast<char const*>(bytes), size);
        return static_cast<ssize_t>(size);
    };
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    g_write = nullptr;
    g_time.reset();
    return line.substr(0, line.find(' '));
}

TEST_F(LogCalls, TheTimeIsRightUntilTheLastYearOfFourDigits) {
    EXPECT_EQ(TimeIn(log, {0, 0}), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(TimeIn(log, {951'782'399, 0}), "2000-02-28T23:59:59.000Z");
    EXPECT_EQ(TimeIn(log, {253'402'300'799, 0}), "9999-12-31T23:59:59.000Z");
}

TEST_F(LogCalls, EveryDayOf400YearsIsThatOfTheCLibrary) {
    for (std::time_t day = 0; day <= 146097; ++day) {
        std::time_t const seconds = day * 86400 + day % 86400;
        std::tm parts = {};
        ASSERT_NE(gmtime_r(&seconds, &parts), nullptr);
        std::array<char, 64> text = {};
        ASSERT_NE(
            std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.000Z", &parts),
            0U);
        ASSERT_EQ(TimeIn(log, {seconds, 0}), text.data());
    }
}

TEST_F(LogCalls, MillisecondsAreCutNotRounded) {
    std::vector<std::string> times;
    for (long nanoseconds :
         {0, 999'999, 1'000'000, 99'999'999, 999'499'999, 999'999'999}) {
        times.push_back(TimeIn(log, {1, nanoseconds}));
    }
    EXPECT_THAT(times,
                ElementsAre("1970-01-01T00:00:01.000Z", "1970-01-01T00:00:01.000Z",
                            "1970-01-01T00:00:01.001Z", "1970-01-01T00:00:01.099Z",
                            "1970-01-01T00:00:01.999Z", "1970-01-01T00:00:01.999Z"));
}

}  // namespace
