// What the library does with memory, and without it. A log call allocates nothing: this
// program replaces malloc, its relatives and mmap in the library, counts their calls, and
// lets them fail.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "common/config/log.h"
#include "tests/liblogger/log_directory.h"
#include "tests/support/counted_malloc.h"

namespace {

// The running test sets it, on its one thread.
bool g_no_maps = false;

}  // namespace

extern "C" void* mmap(void* address, std::size_t size, int protection, int flags,
                      int file, off_t offset) noexcept {
    if (g_no_maps) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the system call returns it so.
    return reinterpret_cast<void*>(
        syscall(SYS_mmap, address, size, protection, flags, file, offset));
}

namespace {

// While it lives, no memory can be mapped.
class NoMaps {
  public:
    NoMaps() { g_no_maps = true; }
    ~NoMaps() { g_no_maps = false; }
    NoMaps(NoMaps const&) = delete;
    NoMaps& operator=(NoMaps const&) = delete;
};

// Returns the number of allocations that one log call makes.
int AllocationsOf(ILog* log, std::string const& message) {
    int const before = CountAllocations();
    __LOG__A(log, LOGLEVEL_ERROR, "[LAUNCHER  ] %s is killed. ret = %d", message.c_str(),
             -1);
    return CountAllocations() - before;
}

TEST(LogMemory, TheCountSeesWhatTheLibraryAllocates) {
    LogDirectory const directory;
    int const before = CountAllocations();
    ASSERT_EQ(InitLogger((directory.Path() / std::string(50, 'd')).c_str()), 0);
    EXPECT_GT(CountAllocations(), before);
}

TEST(LogMemory, ALogCallAllocatesNothingHoweverLongTheLine) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
    for (std::size_t const length :
         std::initializer_list<std::size_t>{1, 100, 4000, 4096, 5000, 1 << 20}) {
        std::string const message(length, 'm');
        EXPECT_EQ(AllocationsOf(log, message), 0) << length;
        std::string const escaped(length, '\n');
        EXPECT_EQ(AllocationsOf(log, escaped), 0) << length;
    }
    EXPECT_EQ(ReadLog(directory.File()).size(), 12U);
}

TEST(LogMemory, ACallThatCannotWriteAllocatesNothing) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
    std::filesystem::create_directory(directory.File());
    EXPECT_EQ(AllocationsOf(log, "lost"), 0);
}

// Returns what a log call writes, and the next one, if the first has no memory but its
// stack.
std::vector<LogLine> LinesWithoutMemory(std::string const& message) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
    {
        NoMaps const no_maps;
        __LOG__A(log, LOGLEVEL_ERROR, "%s", message.c_str());
    }
    __LOG__A(log, LOGLEVEL_ERROR, "the next");
    return ReadLog(directory.File());
}

TEST(LogMemory, WithoutMemoryForItALongLineIsLostAndNothingElse) {
    // The second fits, but not with its control bytes written out.
    for (std::string const& message : {std::string(5000, 'm'), std::string(3000, '\n')}) {
        std::vector<LogLine> const lines = LinesWithoutMemory(message);
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].message, "the next");
    }
}

TEST(LogMemory, AShortLineNeedsNoMemory) {
    std::vector<LogLine> const lines = LinesWithoutMemory("a line");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].message, "a line");
}

TEST(LogMemory, WithoutMemoryTheLibraryDoesNotOpen) {
    LogDirectory const directory;
    std::string const path = directory.Path() / std::string(50, 'd');
    int result = 0;
    {
        RefusedAllocations const refused(0);
        result = InitLogger(path.c_str());
    }
    EXPECT_EQ(result, ENOMEM);
}

TEST(LogMemory, WithoutMemoryThereIsNoLogAndTheResultIsLeftAlone) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
    ILog* result = log;
    {
        NoMaps const no_maps;
        EXPECT_EQ(GetLogger(2, "other", LOGLEVEL_ERROR, &result), ENOMEM);
    }
    EXPECT_EQ(result, log);
    for (int granted = 0, error = ENOMEM; error != 0; ++granted) {
        result = log;
        bool refused_any = false;
        {
            RefusedAllocations const refused(granted);
            error = GetLogger(2, "other", LOGLEVEL_ERROR, &result);
            refused_any = refused.Any();
        }
        EXPECT_EQ(error, refused_any ? ENOMEM : 0);
        EXPECT_EQ(result == log, refused_any);
    }
}

}  // namespace
