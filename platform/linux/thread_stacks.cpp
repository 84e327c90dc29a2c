// Small stacks for the threads of a program, side by side in one mapping, so that a fork
// among a thousand threads costs about what it costs among two. It concerns the whole
// process, so a program links this for itself alone, and calls nothing.
//
// The system gives each thread a mapping of 8 MiB. A fork copies the page tables, and
// they are the more the further apart the stacks lie. Then, in the child, the C library
// takes back every stack that it has mapped itself, and for that writes to each: a page
// fault for each thread. A stack that was given to a thread it leaves alone. A child has
// no use for the stacks of other threads, so all but the first few are not copied: there
// they are zeroed.
//
// The linker puts the two functions at the end in the place of pthread_create and
// pthread_join (--wrap), where the program's own objects call them. std::thread is one of
// these if the C++ library is linked statically. To define the functions by their own
// names would reach shared libraries too, and these may need larger stacks. Defaults for
// all threads (pthread_setattr_default_np) cannot say where a stack lies.
//
// A thread has the system's stack if it was asked for with attributes, if all of these
// are in use, or if one cannot be mapped or guarded. Nothing here has a lock, so signal
// handlers and forked children may create and join threads as they may elsewhere. But a
// signal handler must not fork, and nobody by a call that passes over pthread_atfork, as
// _Fork does: the child might have zeroes for a stack.
//
// Sanitizers have stacks of their own for the threads that they start, so programs built
// with them do without this.

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace {

// Measured by painting stacks: a supervising thread of the launcher uses 7.5 KiB, 4.4 of
// them for what the C library keeps of a thread. With long names, arguments and DEBUG
// lines it is 7.7, in a child that an exception ends 8.7, and 12 if the handler of
// SIGTERM comes on top and stops a thousand programs. The rest is for the logging
// library.
constexpr std::size_t kStackSize = 65'536;

// Each of a launcher's programs takes two process ids, and many systems have 32,768.
constexpr std::size_t kStackCount = 16'384;

// A child has copies of these, whoever forks it: that costs less than two system calls.
constexpr std::size_t kAlwaysCopied = 64;

// From linux/mman.h of Linux 6.13; older headers lack it.
constexpr int kGuardInstall = 102;

// The process whose thread has a stack; 0 if nobody has it.
using Owner = std::atomic<pid_t>;

class Stacks {
  public:
    Stacks() noexcept
        : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), step(page + kStackSize) {
        std::size_t const size = (kStackCount + 1) * step;
        // Memory is taken by the page, when a thread writes to it.
        void* const map = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (map != MAP_FAILED) {
            start = static_cast<char*>(map);
            madvise(start, size, MADV_NOHUGEPAGE);
            madvise(start + kAlwaysCopied * step, size - kAlwaysCopied * step,
                    MADV_WIPEONFORK);
        }
    }

    // Takes a stack. Returns its owner, null if all are in use.
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

    // Makes this stack that of threads which are created with the attributes. Returns
    // whether it has a guard: a mark in the page table where the system knows that, else
    // a mapping of its own.
    bool SetStack(Owner const* owner, pthread_attr_t& attributes) const noexcept {
        char* const guard = Place(owner);
        return (madvise(guard, page, kGuardInstall) == 0 ||
                mprotect(guard, page, PROT_NONE) == 0) &&
               pthread_attr_setstack(&attributes, guard + page, kStackSize) == 0;
    }

    // Returns the owner of a thread's stack, null if it is not one of these. The C
    // library keeps a thread's description on the stack, and its address is the thread's
    // handle.
    Owner* OwnerOf(pthread_t thread) const noexcept {
        std::uintptr_t const place = thread - reinterpret_cast<std::uintptr_t>(start);
        std::size_t const number = place / step;
        return start != nullptr && number >= 1 && number <= kStackCount
                   ? &Owners()[number]
                   : nullptr;
    }

    // Children that are forked from now on have a copy of the stack, or zeroes.
    void CopyInForks(Owner const* owner) noexcept {
        if (IsAlwaysCopied(owner) || madvise(Place(owner), step, MADV_KEEPONFORK) == 0) {
            return;
        }
        // It would take one mapping more than there may be. To copy all takes none.
        copies_all = true;
        madvise(start, (kStackCount + 1) * step, MADV_KEEPONFORK);
    }
    void LeaveOutOfForks(Owner const* owner) noexcept {
        if (!IsAlwaysCopied(owner) && !copies_all) {
            madvise(Place(owner), step, MADV_WIPEONFORK);
        }
    }

  private:
    // In the place of the first stack. The pages are zeroed.
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

// Made before main, and so before there is another thread.
Stacks stacks;

// A thread forks on its own stack.
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

// When a join returns the system is done with the stack. Without a join nobody knows when
// that is, so the stack of a detached thread is not used again.
int __wrap_pthread_join(pthread_t thread, void** result) {
    Owner* const owner = stacks.OwnerOf(thread);
    // A forked child has the stack, and not the thread. The C library marks the stacks
    // that it has mapped itself as those of ended threads, and this one it does not.
    bool const is_left_behind = owner != nullptr && *owner != getpid() &&
                                pthread_equal(thread, pthread_self()) == 0;
    if (is_left_behind && result != nullptr) {
        *result = nullptr;
    }
    // The C library takes the ended thread's description out of a list. A child that is
    // forked meanwhile does so again, and reads it.
    stacks.CopyInForks(owner);
    int const error = is_left_behind ? 0 : __real_pthread_join(thread, result);
    if (error == 0 && owner != nullptr) {
        stacks.LeaveOutOfForks(owner);
        *owner = 0;
    }
    return error;
}
}
