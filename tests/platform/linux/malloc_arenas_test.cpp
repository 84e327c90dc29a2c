#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "harness/proc.h"

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
