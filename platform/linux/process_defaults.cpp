// What makes a process with many threads cheap to fork, on Linux. It concerns the whole
// process, so a program links this for itself alone, and calls nothing. It is for
// programs whose threads all have the default size of stack.
//
// A fork copies every mapping and every page table of the process. On Linux a thread
// comes with three mappings of its own: its stack of 8 MiB, the guard below it and, for
// the first threads, a heap.

#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

// As on macOS. Small stacks share page tables.
constexpr std::size_t kThreadStackSize = 524'288;

// From linux/mman.h of Linux 6.13; older headers lack it.
constexpr int kGuardInstall = 102;

// Returns the lowest address of this thread's stack, null if the system does not tell.
//
// Asking for it leaves memory with the thread that asks. But a thread's handle is the
// address of its description, at the same place in every stack of one size.
char* FindStack() {
    static std::atomic<std::ptrdiff_t> place{0};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the C library gives an address.
    auto* const description = reinterpret_cast<char*>(pthread_self());
    std::ptrdiff_t const known = place.load(std::memory_order_relaxed);
    if (known != 0) {
        return description - known;
    }
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) {
        return nullptr;
    }
    void* lowest = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    place.store(description - static_cast<char*>(lowest), std::memory_order_relaxed);
    return static_cast<char*>(lowest);
}

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
    char* const lowest = FindStack();
    auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (lowest != nullptr && madvise(lowest, page, kGuardInstall) != 0) {
        mprotect(lowest, page, PROT_NONE);
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
