// Gives the threads of a program small stacks, side by side in one mapping. A fork among
// a thousand threads then costs about as much as a fork among two.
//
// Why a fork costs more with the system's stacks:
// - Each thread has a mapping of 8 MiB. A fork copies page tables, and the further apart
//   the stacks lie, the more page tables there are.
// - In the child, the C library takes back every stack that it has mapped itself, and
//   writes to each: that is a page fault for each thread. It leaves a stack alone that a
//   caller has given to a thread.
// A child has no use for the stacks of other threads. So only the first few stacks are
// copied; the child has zeroes in place of the others.
//
// This changes the whole process. So only programs link it, never libraries. Nothing has
// to be called: the linker (--wrap) replaces pthread_create and pthread_join by the two
// functions at the end of this file, in all object files of the program. std::thread is
// among these if the C++ library is linked statically. Functions that were called
// pthread_create would reach shared libraries too, which may need larger stacks. Default
// attributes (pthread_setattr_default_np) cannot place a stack.
//
// A thread gets the system's stack if it is created with attributes, if all stacks here
// are in use, or if a stack cannot be mapped or guarded.
//
// There is no lock here. So signal handlers and forked children may create and join
// threads as they may elsewhere. But a signal handler must not fork, and nobody may fork
// by a call that skips pthread_atfork, such as _Fork: the child might have zeroes for a
// stack.
//
// Sanitizers give threads stacks of their own, so programs built with them do not link
// this.

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace {

// A supervising thread of the launcher uses, measured by painting stacks:
//    7.5 KiB  as a rule, 4.4 of them for what the C library keeps about a thread
//    7.7 KiB  with long names, arguments and DEBUG lines
//    8.7 KiB  in a child that an exception ends
//   12   KiB  if the handler of SIGTERM runs on it as well, and stops a thousand programs
// The rest is for the logging library.
constexpr std::size_t kStackSize = 65'536;

// Each program of a launcher takes two process ids, and many systems have 32,768.
constexpr std::size_t kStackCount = 16'384;

// These stacks are copied in every fork: that costs less than the two system calls that
// would mark a stack before the fork and after it.
constexpr std::size_t kAlwaysCopied = 64;

// MADV_GUARD_INSTALL of Linux 6.13; older headers lack it.
constexpr int kGuardInstall = 102;

// The id of the process whose thread has the stack, or 0 if the stack is free.
using Owner = std::atomic<pid_t>;

class Stacks {
  public:
    Stacks() noexcept
        : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), step(page + kStackSize) {
        std::size_t const size = (kStackCount + 1) * step;
        // A page takes memory when a thread first writes to it.
        void* const map = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (map != MAP_FAILED) {
            start = static_cast<char*>(map);
            madvise(start, size, MADV_NOHUGEPAGE);
            madvise(start + kAlwaysCopied * step, size - kAlwaysCopied * step,
                    MADV_WIPEONFORK);
        }
    }

    // Takes a free stack and returns its owner, or null if all stacks are in use.
    Owner* Take() noexcept {
        for (std::size_t i = 1; start != nullptr && i <= kStackCount; ++i) {
            pid_t nobody = 0;
            if (Owners()[i] == 0 &&
                Owners()[i].compare_exchange_strong(nobody, getpid())) {
                return &Owners()[i];
            }
        }
        return nullptr;
    }

    // Sets the attributes so that a thread created with them gets this stack. Returns
    // false if that fails, or if the stack cannot be guarded. The guard is a mark in the
    // page table if the kernel offers that, and otherwise a mapping of its own.
    bool SetStack(Owner const* owner, pthread_attr_t& attributes) const noexcept {
        char* const guard = Place(owner);
        return (madvise(guard, page, kGuardInstall) == 0 ||
                mprotect(guard, page, PROT_NONE) == 0) &&
               pthread_attr_setstack(&attributes, guard + page, kStackSize) == 0;
    }

    // Returns the owner of the thread's stack, or null if the stack is not one of these.
    // The C library keeps the description of a thread on its stack, and a thread's handle
    // is the address of that description.
    Owner* OwnerOf(pthread_t thread) const noexcept {
        std::uintptr_t const place = thread - reinterpret_cast<std::uintptr_t>(start);
        std::size_t const number = place / step;
        return start != nullptr && number >= 1 && number <= kStackCount
                   ? &Owners()[number]
                   : nullptr;
    }

    // From now on, forked children get a copy of the stack.
    void CopyInForks(Owner const* owner) noexcept {
        if (IsAlwaysCopied(owner) || madvise(Place(owner), step, MADV_KEEPONFORK) == 0) {
            return;
        }
        // The process has as many mappings as it may have, and this would take one more.
        // To copy all stacks takes none.
        copies_all = true;
        madvise(start, (kStackCount + 1) * step, MADV_KEEPONFORK);
    }
    // From now on, forked children get zeroes instead.
    void LeaveOutOfForks(Owner const* owner) noexcept {
        if (!IsAlwaysCopied(owner) && !copies_all) {
            madvise(Place(owner), step, MADV_WIPEONFORK);
        }
    }

  private:
    // The owners stand in the place of the first stack, whose pages are zeroed.
    Owner* Owners() const noexcept { return reinterpret_cast<Owner*>(start); }

    char* Place(Owner const* owner) const noexcept {
        return start + (owner - Owners()) * step;
    }
    bool IsAlwaysCopied(Owner const* owner) const noexcept {
        return owner == nullptr || owner < Owners() + kAlwaysCopied;
    }

    std::size_t const page;
    std::size_t const step;
    char* start = nullptr;
    std::atomic<bool> copies_all = false;
};

static_assert((kStackCount + 1) * sizeof(Owner) <= kStackSize + 4096);

// Made before main, when there is no other thread.
Stacks stacks;

// The child goes on with the stack of the thread that forks.
void BeforeFork() {
    stacks.CopyInForks(stacks.OwnerOf(pthread_self()));
}
void AfterFork() {
    stacks.LeaveOutOfForks(stacks.OwnerOf(pthread_self()));
}
[[maybe_unused]] int const is_set = pthread_atfork(BeforeFork, AfterFork, nullptr);

}  // namespace

extern "C" {

int __real_pthread_create(pthread_t* thread, pthread_attr_t const* attributes,
                          void* (*body)(void*), void* argument);
int __real_pthread_join(pthread_t thread, void** result);

int __wrap_pthread_create(pthread_t* thread, pthread_attr_t const* attributes,
                          void* (*body)(void*), void* argument) {
    Owner* const owner = attributes == nullptr ? stacks.Take() : nullptr;
    if (owner != nullptr) {
        pthread_attr_t with_stack;
        pthread_attr_init(&with_stack);
        bool const is_created =
            stacks.SetStack(owner, with_stack) &&
            __real_pthread_create(thread, &with_stack, body, argument) == 0;
        pthread_attr_destroy(&with_stack);
        if (is_created) {
            return 0;
        }
        *owner = 0;
    }
    return __real_pthread_create(thread, attributes, body, argument);
}

// Frees the stack after the join, when the system has finished with it. The stack of a
// detached thread is not used again: nothing tells when the system has finished with it.
int __wrap_pthread_join(pthread_t thread, void** result) {
    Owner* const owner = stacks.OwnerOf(thread);
    // A forked child has the stack of the thread, but not the thread. For a stack that it
    // has mapped itself, the C library notes in the child that the thread has ended; for
    // this one it does not.
    bool const is_left_behind = owner != nullptr && *owner != getpid() &&
                                pthread_equal(thread, pthread_self()) == 0;
    if (is_left_behind && result != nullptr) {
        *result = nullptr;
    }
    // The C library removes the ended thread's description from a list. A child that is
    // forked meanwhile repeats that, and reads the description.
    stacks.CopyInForks(owner);
    int const error = is_left_behind ? 0 : __real_pthread_join(thread, result);
    if (error == 0 && owner != nullptr) {
        stacks.LeaveOutOfForks(owner);
        *owner = 0;
    }
    return error;
}
}
