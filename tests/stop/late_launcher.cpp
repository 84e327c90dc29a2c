// A fork for a launcher whose threads learn late that they have a child: each is busy for
// 300 ms before the first fork returns. With FAILING_FORK in the environment, the fork of
// this number then fails. Linked with --wrap=fork.

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace {

std::atomic<int> forks{0};

// Returns true if the next fork of this process is to fail.
bool IsToFail() {
    char const* const failing = std::getenv("FAILING_FORK");
    return ++forks == (failing != nullptr ? std::atoi(failing) : 0);
}

void BeBusy() {
    timespec used = {};
    while (used.tv_sec == 0 && used.tv_nsec < 300'000'000) {
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    }
}

}  // namespace

// The linker gives them these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" pid_t __real_fork();

extern "C" pid_t __wrap_fork() {
    bool const is_to_fail = IsToFail();
    pid_t const child = is_to_fail ? -1 : __real_fork();
    if (child != 0) {
        BeBusy();
    }
    errno = EAGAIN;
    return child;
}
// NOLINTEND(bugprone-reserved-identifier)
