// Waiting for a condition, with a deadline for the case that it never comes.

#ifndef TESTS_SUPPORT_WAIT_FOR_H
#define TESTS_SUPPORT_WAIT_FOR_H

#include <chrono>
#include <thread>

// Asks `condition` until it is true or 30 seconds are over; returns its last answer.
template <typename Condition>
bool WaitFor(Condition condition) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

#endif
