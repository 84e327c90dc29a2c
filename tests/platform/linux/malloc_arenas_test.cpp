#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

// Returns the line of /proc/self/maps that the address is in.
std::string MappingOf(void const* address) {
    auto const wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::istringstream words(line);
        words >> std::hex >> first >> dash >> end;
        if (first <= wanted && wanted < end) {
            return line;
        }
    }
    return "no mapping";
}

}  // namespace

TEST(MallocArenas, ThreadsShareTheHeapOfTheMainThread) {
    for (int i = 0; i < 4; ++i) {
        std::thread([] {
            void* const memory = std::calloc(1, 1000);
            std::string const mapping = MappingOf(memory);
            EXPECT_NE(mapping.find("[heap]"), std::string::npos) << mapping;
            std::free(memory);
        }).join();
    }
}
