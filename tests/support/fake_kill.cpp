#include "tests/support/fake_kill.h"

#include <dlfcn.h>

#include <csignal>
#include <mutex>

namespace {

std::mutex mutex;
std::vector<std::pair<pid_t, int>> recorded;

}  // namespace

std::vector<std::pair<pid_t, int>> TakeUnsentKills() {
    std::lock_guard<std::mutex> const lock(mutex);
    return std::exchange(recorded, {});
}

// The system's header decides whether it is noexcept.
extern "C" int kill(pid_t pid, int signal_number) noexcept(noexcept(kill(pid, 0))) {
    if (pid > 0) {
        auto const real = reinterpret_cast<int (*)(pid_t, int)>(dlsym(RTLD_NEXT, "kill"));
        return real(pid, signal_number);
    }
    std::lock_guard<std::mutex> const lock(mutex);
    recorded.emplace_back(pid, signal_number);
    return 0;
}
