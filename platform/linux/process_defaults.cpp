// What a process on macOS has from the start, for Linux: it concerns the whole process,
// so a program links this for itself alone, and calls nothing.

#include <malloc.h>
#include <pthread.h>

#include <cstddef>

namespace {

// A fork copies the page tables of every thread's stack. Smaller stacks share them; this
// is the size that a thread has on macOS.
constexpr std::size_t kThreadStackSize = 524'288;

void UseSmallThreadStacks() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kThreadStackSize);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

bool SetProcessDefaults() {
    // Memory is asked for seldom, and every arena is one more mapping for a fork to copy.
    mallopt(M_ARENA_MAX, 1);
    UseSmallThreadStacks();
    return true;
}

// Before main, and so before there is another thread.
[[maybe_unused]] bool const are_set = SetProcessDefaults();

}  // namespace
