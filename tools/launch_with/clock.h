// A clock that nobody sets.

#ifndef TOOLS_LAUNCH_WITH_CLOCK_H
#define TOOLS_LAUNCH_WITH_CLOCK_H

#include <ctime>

namespace launch_with {

// Returns the milliseconds since some moment. Only differences mean something.
inline long long Now() noexcept {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

}  // namespace launch_with

#endif
