// A launcher whose calls are traced: this program replaces the calls that tell how the
// launcher starts and stops. Each is noted in the file of a CallTrace, and made.

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "harness/system.h"
#include "tests/launcher/call_trace.h"
#include "tests/support/next_function.h"

namespace {

using Handler = void (*)(int);

// Set before main, since the calls below are made in signal handlers too.
TraceSlots* slots = nullptr;
pid_t observed = 0;
Handler (*next_signal)(int, Handler) = nullptr;
int (*next_create)(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*) = nullptr;
int (*next_join)(pthread_t, void**) = nullptr;
pid_t (*next_fork)() = nullptr;
int (*next_kill)(pid_t, int) = nullptr;
void (*next_abort)() = nullptr;

thread_local bool inside_fork = false;
std::atomic<Handler> launcher_handler = nullptr;

[[gnu::constructor]] void Open() {
    next_signal = Next<Handler(int, Handler)>("signal");
    next_create = Next<int(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*)>(
        "pthread_create");
    next_join = Next<int(pthread_t, void**)>("pthread_join");
    next_fork = Next<pid_t()>("fork");
    next_kill = Next<int(pid_t, int)>("kill");
    next_abort = Next<void()>("abort");
    char const* const file = std::getenv(CallTrace::kVariable);
    int const descriptor = file != nullptr ? open(file, O_RDWR | O_CLOEXEC) : -1;
    void* const map = mmap(nullptr, sizeof(TraceSlots), PROT_READ | PROT_WRITE,
                           MAP_SHARED, descriptor, 0);
    close(descriptor);
    observed = getpid();
    if (map != MAP_FAILED) {
        slots = static_cast<TraceSlots*>(map);
    }
}

// A forked child notes nothing.
void Note(CallKind kind, long value = 0) {
    if (slots == nullptr || getpid() != observed) {
        return;
    }
    unsigned const number = slots->used.fetch_add(1);
    if (number < TraceSlots::kCount) {
        TraceSlots::Slot& slot = slots->slots[number];
        slot.thread = CurrentThread();
        slot.value = value;
        slot.inside_fork = inside_fork;
        slot.inside_malloc = inside_malloc;
        slot.kind.store(kind, std::memory_order_release);
    }
}

void TracedHandler(int number) {
    Note(CallKind::kHandlerBegins);
    launcher_handler.load()(number);
    Note(CallKind::kHandlerEnds);
}

}  // namespace

// The C libraries differ in which of their functions they declare not to throw.
extern "C" {

Handler signal(int number, Handler handler) noexcept(noexcept(signal(number, handler))) {
    if (number != SIGTERM) {
        return next_signal(number, handler);
    }
    launcher_handler = handler;
    Note(CallKind::kInstallsHandler);
    Handler const before = next_signal(number, TracedHandler);
    Note(CallKind::kHasInstalledHandler);
    return before;
}

int pthread_create(pthread_t* thread, pthread_attr_t const* attributes,
                   void* (*body)(void*),
                   void* argument) noexcept(noexcept(pthread_create(thread, attributes,
                                                                    body, argument))) {
    Note(CallKind::kStartsThread);
    int const result = next_create(thread, attributes, body, argument);
    Note(CallKind::kHasStartedThread, result);
    return result;
}

int pthread_join(pthread_t thread, void** result) {
    Note(CallKind::kJoins, pthread_equal(thread, pthread_self()) != 0 ? kItself : 0);
    int const error = next_join(thread, result);
    Note(CallKind::kHasJoined, error);
    return error;
}

pid_t fork() noexcept(noexcept(fork())) {
    Note(CallKind::kForks);
    inside_fork = true;
    pid_t const child = next_fork();
    inside_fork = false;
    Note(CallKind::kHasForked, child);
    return child;
}

int kill(pid_t pid, int number) noexcept(noexcept(kill(pid, number))) {
    Note(CallKind::kKills, pid);
    return next_kill(pid, number);
}

void abort() noexcept(noexcept(abort())) {
    Note(CallKind::kAborts);
    next_abort();
    _exit(99);
}
}
