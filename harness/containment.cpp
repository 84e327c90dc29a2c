#include "harness/containment.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

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
