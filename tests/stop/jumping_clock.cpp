// The system's clocks for a copy of launch-with, but the time of day jumps: each look at
// it is an hour later or an hour earlier than the last. Linked with
// --wrap=clock_gettime.

#include <ctime>

// The linker gives them these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_clock_gettime(clockid_t clock, timespec* time);

extern "C" int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    static bool is_late = false;
    int const result = __real_clock_gettime(clock, time);
    if (clock == CLOCK_REALTIME) {
        is_late = !is_late;
        time->tv_sec += is_late ? 3600 : 0;
    }
    return result;
}
// NOLINTEND(bugprone-reserved-identifier)
