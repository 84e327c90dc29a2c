#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/sanitizers.h"

namespace {

std::size_t StackSizeOfThisThread() {
    pthread_attr_t attributes;
    std::size_t size = 0;
    EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
    EXPECT_EQ(pthread_attr_getstacksize(&attributes, &size), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
    return size;
}

// Returns the last word of the line of /proc/self/maps that the address is in.
std::string NameOfMapping(void const* address) {
    auto const wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::istringstream words(line);
        words >> std::hex >> first >> dash >> end;
        if (first <= wanted && wanted < end) {
            return line.substr(line.rfind(' ') + 1);
        }
    }
    return "no mapping";
}

}  // namespace

TEST(ProcessDefaults, ThreadsHaveStacksOf512Kib) {
    std::size_t size = 0;
    std::thread([&size] { size = StackSizeOfThisThread(); }).join();
    EXPECT_GE(size, 512U * 1024 - 4096);  // a page of it guards the end
    EXPECT_LE(size, 512U * 1024);
}

#if !UNDER_ASAN && !UNDER_TSAN
TEST(ProcessDefaults, ThreadsShareTheHeapOfTheMainThread) {
    for (int i = 0; i < 4; ++i) {
        std::string name;
        std::thread([&name] {
            void* const memory = std::calloc(1, 1000);
            name = NameOfMapping(memory);
            std::free(memory);
        }).join();
        EXPECT_EQ(name, "[heap]");
    }
}
#endif
