// Part of every program of the coverage build: saves the counters of processes that end
// without an ordinary exit. (Before execv, the compiler saves them. If SIGKILL ends a
// process, its counters are lost.)

#include <cstdlib>
#include <exception>

extern "C" void __gcov_dump();

namespace {

// An uncaught exception leads here.
[[noreturn]] void SaveAndAbort() {
    __gcov_dump();
    std::abort();
}

[[maybe_unused]] std::terminate_handler const before = std::set_terminate(SaveAndAbort);

}  // namespace

// The linker replaces _exit by these.
extern "C" [[noreturn]] void __real__exit(int status);

extern "C" [[noreturn]] void __wrap__exit(int status) {
    __gcov_dump();
    __real__exit(status);
}
