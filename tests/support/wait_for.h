// Waiting for a condition, with a deadline for the case that it never comes.

#ifndef TESTS_SUPPORT_WAIT_FOR_H
#define TESTS_SUPPORT_WAIT_FOR_H

#include <chrono>
#include <cstdlib>
#include <thread>

// 30 seconds, or what the environment says: who runs tests that are going to fail has
// better things to do.
inline std::chrono::seconds LongestWait() {
    char const* const seconds = std::getenv("TESTS_LONGEST_WAIT");
    return std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 30);
}

// Asks `condition` until it is true or LongestWait() is over; returns its last answer.
template <typename Condition>
bool WaitFor(Condition condition) {
    auto const deadline = std::chrono::steady_clock::now() + LongestWait();
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

#endif
