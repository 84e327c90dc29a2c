// The main of test programs that start or kill processes: it runs the tests only inside
// tests/support/contained.

#include <gtest/gtest.h>

#include <cstdio>

#include "harness/containment.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && !IsContained()) {
        std::fprintf(stderr,
                     "%s: its tests kill processes; run it through "
                     "tests/support/contained\n",
                     argv[0]);
        return 2;
    }
    return RUN_ALL_TESTS();
}
