// Calls from several threads at once.

#ifndef TESTS_SUPPORT_IN_THREADS_H
#define TESTS_SUPPORT_IN_THREADS_H

#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

// Starts four threads. Each calls `is_right` `times` times with its own number, from 0
// on, all at once. Returns how many calls returned false or threw.
inline std::size_t CountWrongInThreads(std::size_t times,
                                       std::function<bool(std::size_t)> const& is_right) {
    std::atomic<int> missing{4};
    std::atomic<std::size_t> wrong{0};
    auto const run = [&](std::size_t thread) {
        --missing;
        while (missing > 0) {
            std::this_thread::yield();
        }
        for (std::size_t i = 0; i < times; ++i) {
            try {
                wrong += is_right(thread) ? 0 : 1;
            } catch (...) {
                ++wrong;
            }
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back(run, thread);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return wrong;
}

#endif
