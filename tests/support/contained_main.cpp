// The main of test programs whose subjects kill: it runs them nowhere but inside
// tests/support/contained.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

// Inside, the PID namespace is another one than `contained` came from, and the process
// group and the session belong to it: ids from outside read as 0.
bool IsContained() {
    char const* const outside = std::getenv("CONTAINED_FROM");
    std::error_code error;
    std::filesystem::path const here =
        std::filesystem::read_symlink("/proc/self/ns/pid", error);
    return outside != nullptr && !error && here != outside && getpgrp() > 1 &&
           getsid(0) > 1;
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && !IsContained()) {
        std::fprintf(stderr,
                     "%s: what is tested here kills; run it through "
                     "tests/support/contained\n",
                     argv[0]);
        return 2;
    }
    return RUN_ALL_TESTS();
}
