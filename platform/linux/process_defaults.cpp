// What makes a process with many threads cheap to fork, on Linux. It concerns the whole
// process, so a program links this for itself alone, and calls nothing.
//
// A fork copies every mapping and every page table of the process. On Linux a thread
// comes with three mappings of its own: its stack of 8 MiB, the guard below it and, for
// the first threads, a heap.

#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace {

// As on macOS. Small stacks share page tables.
constexpr std::size_t kThreadStackSize = 524'288;

// From linux/mman.h of Linux 6.13; older headers lack it.
constexpr int kGuardInstall = 102;

// The C library makes a guard by mapping it apart, which keeps the system from joining
// the stacks to one mapping. So threads start without one, and get it here before their
// first fork, as a mark in the page table where the system knows that.
void GuardStackOfThisThread() {
    thread_local bool is_guarded = false;
    if (is_guarded || gettid() == getpid()) {
        return;  // the main thread's stack is the system's
    }
    is_guarded = true;
    int const kept = errno;
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
        auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        if (madvise(lowest, page, kGuardInstall) != 0) {
            mprotect(lowest, page, PROT_NONE);
        }
    }
    errno = kept;
}

void SetThreadDefaults() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kThreadStackSize);
    pthread_attr_setguardsize(&attributes, 0);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

bool SetProcessDefaults() {
    mallopt(M_ARENA_MAX, 1);
    SetThreadDefaults();
    pthread_atfork(GuardStackOfThisThread, nullptr, nullptr);
    return true;
}

// Before main, and so before there is another thread.
[[maybe_unused]] bool const are_set = SetProcessDefaults();

}  // namespace
