// A fork for a launcher whose threads learn late that they have a child: each is busy for
// 300 ms before the first fork returns. Linked with --wrap=fork.

#include <unistd.h>

#include <ctime>

// The linker gives them these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" pid_t __real_fork();

extern "C" pid_t __wrap_fork() {
    pid_t const child = __real_fork();
    timespec used = {};
    while (child > 0 && used.tv_sec == 0 && used.tv_nsec < 300'000'000) {
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    }
    return child;
}
// NOLINTEND(bugprone-reserved-identifier)
