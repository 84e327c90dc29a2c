#include "tests/support/fake_kill.h"

#include <csignal>
#include <mutex>

#include "tests/support/next_function.h"

namespace {

std::mutex mutex;
std::vector<std::pair<pid_t, int>> unsent;

}  // namespace

std::vector<std::pair<pid_t, int>> TakeUnsentKills() {
    std::lock_guard<std::mutex> const lock(mutex);
    return std::exchange(unsent, {});
}

// The system's header decides whether it is noexcept.
extern "C" int kill(pid_t pid, int signal_number) noexcept(noexcept(kill(pid, 0))) {
    if (pid > 0) {
        return Next<int(pid_t, int)>("kill")(pid, signal_number);
    }
    std::lock_guard<std::mutex> const lock(mutex);
    unsent.emplace_back(pid, signal_number);
    return 0;
}
