// A log call allocates nothing: the library's calls of malloc and its kin come to the
// definitions in this program, which count them.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "common/config/log.h"
#include "tests/liblogger/log_directory.h"

// The C library's own, under its second names.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);
extern "C" void* __libc_memalign(std::size_t alignment, std::size_t size);

namespace {
std::atomic<int> g_allocations{0};
}

extern "C" void* malloc(std::size_t size) {
    ++g_allocations;
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
    ++g_allocations;
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) {
    ++g_allocations;
    return __libc_realloc(memory, size);
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) {
    ++g_allocations;
    return __libc_memalign(alignment, size);
}

namespace {

// The number of allocations that one log call makes.
int AllocationsOf(ILog* log, std::string const& message) {
    int const before = g_allocations;
    __LOG__A(log, LOGLEVEL_ERROR, "[LAUNCHER  ] %s is killed. ret = %d", message.c_str(),
             -1);
    return g_allocations - before;
}

TEST(LogMemory, TheCountSeesWhatTheLibraryAllocates) {
    LogDirectory const directory;
    int const before = g_allocations;
    ASSERT_EQ(InitLogger((directory.Path() / std::string(50, 'd')).c_str()), 0);
    EXPECT_GT(g_allocations, before);
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

TEST(LogMemory, NorDoesACallThatCannotWrite) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
    std::filesystem::create_directory(directory.File());
    EXPECT_EQ(AllocationsOf(log, "lost"), 0);
}

}  // namespace
