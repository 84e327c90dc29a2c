// Waits for a condition, with a deadline for the case that it never comes true.

#ifndef HARNESS_WAIT_FOR_H
#define HARNESS_WAIT_FOR_H

#include <chrono>
#include <cstdlib>
#include <thread>

// Returns 30 seconds, or the number of seconds in the environment variable
// TESTS_LONGEST_WAIT: a run whose tests are expected to fail sets a shorter one.
inline std::chrono::seconds LongestWait() {
    char const* const seconds = std::getenv("TESTS_LONGEST_WAIT");
    return std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 30);
}

// Asks `condition` every 2 ms until it is true or `longest` is over. Returns its last
// answer.
template <typename Condition>
bool WaitFor(Condition condition, std::chrono::seconds longest = LongestWait()) {
    auto const deadline = std::chrono::steady_clock::now() + longest;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

#endif
