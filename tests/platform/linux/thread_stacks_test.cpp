#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "harness/proc.h"

namespace {

constexpr std::size_t kStackSize = 65'536;
constexpr int kStackCount = 16'384;
constexpr int kGuardInstall = 102;

// So many stacks, the first ones, are copied into every forked child.
constexpr int kAlwaysCopied = 63;

// Whether the calls below work, or fail as on a system that does not know them.
std::atomic<bool> has_guard_marks = true;
std::atomic<bool> has_guard_mappings = true;
std::atomic<bool> has_room_for_mappings = true;

}  // namespace

extern "C" int madvise(void* address, std::size_t length, int advice) noexcept {
    if (advice == kGuardInstall && !has_guard_marks) {
        errno = EINVAL;
        return -1;
    }
    if (advice == MADV_KEEPONFORK && length < 1 << 20 && !has_room_for_mappings) {
        errno = ENOMEM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_madvise, address, length, advice));
}

extern "C" int mprotect(void* address, std::size_t length, int protection) noexcept {
    if (!has_guard_mappings) {
        errno = ENOMEM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_mprotect, address, length, protection));
}

namespace {

struct Stack {
    char* lowest = nullptr;
    std::size_t size = 0;
};

Stack StackOfThisThread() {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    Stack stack;
    EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
    EXPECT_EQ(pthread_attr_getstack(&attributes, &lowest, &stack.size), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
    stack.lowest = static_cast<char*>(lowest);
    return stack;
}

bool IsOwn(Stack const& stack) {
    return stack.size == kStackSize;
}

// Runs `body` on a new thread and waits for its end.
template <typename Body>
void OnThread(Body body) {
    std::thread(body).join();
}

Stack StackOfNewThread() {
    Stack stack;
    OnThread([&stack] { stack = StackOfThisThread(); });
    return stack;
}

// Threads that wait until the object is destroyed.
class WaitingThreads {
  public:
    explicit WaitingThreads(int count) {
        std::shared_future<void> const end = ended.get_future().share();
        for (int i = 0; i < count; ++i) {
            std::promise<Stack> stack;
            stacks.push_back(stack.get_future());
            threads.emplace_back([end, stack = std::move(stack)]() mutable {
                stack.set_value(StackOfThisThread());
                end.wait();
            });
        }
    }
    ~WaitingThreads() {
        ended.set_value();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    WaitingThreads(WaitingThreads const&) = delete;
    WaitingThreads& operator=(WaitingThreads const&) = delete;

    pthread_t Handle(std::size_t i) { return threads[i].native_handle(); }

    // To be called once.
    std::vector<Stack> Stacks() {
        std::vector<Stack> values;
        for (std::future<Stack>& stack : stacks) {
            values.push_back(stack.get());
        }
        return values;
    }

  private:
    std::promise<void> ended;
    std::vector<std::future<Stack>> stacks;
    std::vector<std::thread> threads;
};

// Runs `body` in a forked child. Returns how the child ends: -N for signal N, 0 if
// nothing failed in it. SIGALRM ends a child that hangs.
int EndOfChild(std::function<void()> const& body) {
    pid_t const child = fork();
    if (child == 0) {
        alarm(30);
        body();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// Returns what a forked child reads at the address.
int InChild(char const volatile* address) {
    return EndOfChild([address] { _exit(*address); });
}

// Calls itself a million times, which needs more stack than any thread has.
int Overflow(int depth) {
    char volatile used[256];
    used[0] = static_cast<char>(depth);
    return depth == 1'000'000 ? 0 : Overflow(depth + 1) + used[0];
}

// Returns the stack of a thread that is created with these attributes.
Stack StackOfThreadWith(pthread_attr_t const& attributes) {
    Stack stack;
    pthread_t thread = 0;
    auto const body = [](void* found) -> void* {
        *static_cast<Stack*>(found) = StackOfThisThread();
        return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, body, &stack), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    return stack;
}

class ThreadStacks : public testing::TestWithParam<bool> {
  protected:
    ThreadStacks() { has_guard_marks = GetParam(); }
    ~ThreadStacks() override { has_guard_marks = true; }
};

INSTANTIATE_TEST_SUITE_P(GuardMarks, ThreadStacks, testing::Bool(),
                         [](auto const& marks) {
                             return marks.param ? "With" : "Without";
                         });

}  // namespace

TEST_P(ThreadStacks, LieSideBySideFromTheLowestOn) {
    WaitingThreads threads(80);
    std::vector<Stack> const stacks = threads.Stacks();
    std::ptrdiff_t const page = sysconf(_SC_PAGESIZE);
    for (std::size_t i = 0; i < stacks.size(); ++i) {
        EXPECT_TRUE(IsOwn(stacks[i]));
        EXPECT_EQ(stacks[i].lowest - stacks[0].lowest,
                  static_cast<std::ptrdiff_t>(i) * (kStackSize + page));
    }
    bool const are_one_mapping =
        MappingOf(stacks[0].lowest) == MappingOf(stacks[kAlwaysCopied - 1].lowest) &&
        MappingOf(stacks[kAlwaysCopied].lowest) == MappingOf(stacks.back().lowest);
    EXPECT_EQ(are_one_mapping, GetParam());
}

TEST_P(ThreadStacks, HaveAGuardRightBelow) {
    WaitingThreads neighbours(4);
    for (Stack const& stack : neighbours.Stacks()) {
        EXPECT_EQ(EndOfChild([&] { stack.lowest[0] = 1; }), 0);
        EXPECT_EQ(EndOfChild([&] { stack.lowest[-1] = 1; }), -SIGSEGV);
        EXPECT_EQ(EndOfChild([&] { stack.lowest[-sysconf(_SC_PAGESIZE)] = 1; }),
                  -SIGSEGV);
    }
}

TEST_P(ThreadStacks, AnOverflowEndsTheProcess) {
    for (int const neighbours : {1, kAlwaysCopied}) {
        WaitingThreads const threads(neighbours);
        EXPECT_EQ(EndOfChild([] { OnThread([] { Overflow(0); }); }), -SIGSEGV);
        OnThread([] { EXPECT_EQ(EndOfChild([] { Overflow(0); }), -SIGSEGV); });
    }
}

TEST_P(ThreadStacks, AForkedChildHasThatOfTheThreadThatForkedIt) {
    for (int const others : {0, kAlwaysCopied - 1, kAlwaysCopied, 80}) {
        WaitingThreads const threads(others);
        OnThread([] {
            char const volatile mark = 7;
            EXPECT_EQ(InChild(&mark), 7);
            EXPECT_EQ(InChild(&mark), 7);
        });
    }
}

TEST_P(ThreadStacks, AForkedChildHasZeroesInThoseOfOtherThreadsButTheFirst) {
    WaitingThreads threads(70);
    std::vector<Stack> const stacks = threads.Stacks();
    for (std::size_t i = 0; i < stacks.size(); ++i) {
        stacks[i].lowest[0] = 7;
        char const expected = i < kAlwaysCopied ? 7 : 0;
        EXPECT_EQ(InChild(stacks[i].lowest), expected) << i;
        OnThread([&] { EXPECT_EQ(InChild(stacks[i].lowest), expected) << i; });
    }
}

TEST_P(ThreadStacks, AForkedChildHasZeroesInThatOfAThreadThatHasForkedBefore) {
    WaitingThreads const threads(kAlwaysCopied);
    std::promise<void> end;
    std::promise<char*> lowest;
    std::thread forking([&] {
        EXPECT_EQ(EndOfChild([] {}), 0);
        lowest.set_value(StackOfThisThread().lowest);
        end.get_future().wait();
    });
    char* const of_forking = lowest.get_future().get();
    of_forking[0] = 7;
    EXPECT_EQ(InChild(of_forking), 0);
    end.set_value();
    forking.join();
}

// If the fork comes during the join, the C library reads the stack in the child.
TEST_P(ThreadStacks, AForkedChildHasThatOfAThreadWhileItIsJoined) {
    WaitingThreads const threads(kAlwaysCopied);
    std::promise<void> end;
    std::promise<char*> lowest;
    std::thread joined([&] {
        lowest.set_value(StackOfThisThread().lowest);
        end.get_future().wait();
    });
    char* const of_joined = lowest.get_future().get();
    of_joined[0] = 7;
    EXPECT_EQ(InChild(of_joined), 0);
    std::thread joining([&joined] { joined.join(); });
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (InChild(of_joined) == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(InChild(of_joined), 7);
    end.set_value();
    joining.join();
    EXPECT_EQ(of_joined[0], 7);
    EXPECT_EQ(InChild(of_joined), 0);
}

TEST_P(ThreadStacks, AForkedChildHasAllIfThereIsNoRoomForAMappingMore) {
    auto const body = [] {
        WaitingThreads threads(70);
        char* const lowest = threads.Stacks().back().lowest;
        lowest[0] = 7;
        for (bool const has_room : {false, true}) {
            OnThread([=] {
                has_room_for_mappings = has_room;
                char const volatile mark = 5;
                EXPECT_EQ(InChild(&mark), 5);
                EXPECT_EQ(InChild(lowest), 7);
                EXPECT_EQ(InChild(&mark), 5);
            });
        }
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST_P(ThreadStacks, AreUsedAgainAfterAJoin) {
    Stack const first = StackOfNewThread();
    long const resident = ProcNumber(getpid(), "status", "VmRSS");
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_EQ(StackOfNewThread().lowest, first.lowest);
    }
    EXPECT_LT(ProcNumber(getpid(), "status", "VmRSS"), resident + 256);
}

TEST_P(ThreadStacks, AreNotUsedAgainWhileTheirThreadIsNotJoined) {
    char* lowest = nullptr;
    std::thread ended([&lowest] { lowest = StackOfThisThread().lowest; });
    Stack const next = StackOfNewThread();
    EXPECT_TRUE(IsOwn(next));
    Stack const again = StackOfNewThread();
    ended.join();
    EXPECT_NE(next.lowest, lowest);
    EXPECT_EQ(again.lowest, next.lowest);
    EXPECT_EQ(StackOfNewThread().lowest, lowest);
}

// In a child, since the process loses the stack.
TEST(ThreadStack, OfADetachedThreadIsNotUsedAgain) {
    auto const body = [] {
        std::promise<char*> lowest;
        std::thread([&lowest] { lowest.set_value(StackOfThisThread().lowest); }).detach();
        char* const of_detached = lowest.get_future().get();
        for (int i = 0; i < 100; ++i) {
            EXPECT_NE(StackOfNewThread().lowest, of_detached);
        }
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST(ThreadStack, StaysWithAThreadThatCouldNotBeJoined) {
    OnThread([] {
        char* const own = StackOfThisThread().lowest;
        EXPECT_EQ(pthread_join(pthread_self(), nullptr), EDEADLK);
        EXPECT_NE(StackOfNewThread().lowest, own);
    });
}

TEST(ThreadStack, TakesMemoryByThePageAndNeverAHugeOne) {
    Stack const stack = StackOfNewThread();
    std::string const mapping = MappingOf(stack.lowest);
    std::istringstream words(mapping.substr(mapping.find("Rss:") + 4));
    int resident_kib = 1 << 30;
    words >> resident_kib;
    EXPECT_LT(resident_kib, 64) << mapping;
    if (access("/sys/kernel/mm/transparent_hugepage", F_OK) == 0) {
        std::string const flags = mapping.substr(mapping.find("VmFlags:"));
        EXPECT_NE(flags.find(" nh"), std::string::npos) << mapping;
        EXPECT_NE(flags.find(" nr"), std::string::npos) << mapping;
    }
}

TEST(ThreadStack, OfAThreadThatNeverEndsDoesNotKeepTheProcessFromItsEnd) {
    auto const body = [] {
        std::promise<void> started;
        std::thread([&started] {
            started.set_value();
            for (;;) {
                pause();
            }
        }).detach();
        started.get_future().wait();
        EXPECT_TRUE(IsOwn(StackOfNewThread()));
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST(ThreadStack, IsTheSystemsWhenAllAreInUse) {
    auto const body = [] {
        auto const end_at_once = [](void* argument) { return argument; };
        for (int i = 0; i < kStackCount; ++i) {
            pthread_t thread = 0;
            ASSERT_EQ(pthread_create(&thread, nullptr, end_at_once, nullptr), 0) << i;
            ASSERT_EQ(pthread_detach(thread), 0);
            ASSERT_TRUE(i != kStackCount - 2 || IsOwn(StackOfNewThread()));
        }
        for (int i = 0; i < 3; ++i) {
            EXPECT_GT(StackOfNewThread().size, kStackSize);
        }
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST(ThreadStack, IsTheSystemsIfItCannotBeGuarded) {
    has_guard_marks = false;
    has_guard_mappings = false;
    EXPECT_FALSE(IsOwn(StackOfNewThread()));
    has_guard_mappings = true;
    EXPECT_TRUE(IsOwn(StackOfNewThread()));
}

TEST(ThreadStack, IsTheSystemsForAThreadWithAttributes) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
    EXPECT_EQ(StackOfThreadWith(attributes).size, 1U << 20);

    std::vector<char> own(1 << 18);
    ASSERT_EQ(pthread_attr_setstack(&attributes, own.data(), own.size()), 0);
    EXPECT_EQ(StackOfThreadWith(attributes).lowest, own.data());
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

TEST(ThreadStack, IsGivenBackIfTheSystemHasNoThread) {
    auto const body = [] {
        Stack const before = StackOfNewThread();
        rlimit processes = {};
        getrlimit(RLIMIT_NPROC, &processes);
        rlimit const none = {0, processes.rlim_max};
        setrlimit(RLIMIT_NPROC, &none);
        // The limit does not bind the superuser.
        ASSERT_TRUE(getuid() != 0 || setuid(65'534) == 0);
        try {
            StackOfNewThread();
            ADD_FAILURE() << "there was a thread";
        } catch (std::system_error const& error) {
            EXPECT_EQ(error.code().value(), EAGAIN);
        }
        setrlimit(RLIMIT_NPROC, &processes);
        EXPECT_EQ(StackOfNewThread().lowest, before.lowest);
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST(ThreadStack, AJoinReturnsWhatTheThreadReturned) {
    pthread_t thread = 0;
    auto const body = [](void* argument) { return argument; };
    int value = 0;
    void* result = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, body, &value), 0);
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &value);
}

// The system's own stacks do the same.
TEST(ThreadStack, AForkedChildJoinsTheThreadsThatItLacksAtOnce) {
    WaitingThreads others(1);
    pthread_t const other = others.Handle(0);
    OnThread([other] {
        char* const own = StackOfThisThread().lowest;
        auto const body = [=] {
            void* result = own;
            EXPECT_EQ(pthread_join(other, &result), 0);
            EXPECT_EQ(result, nullptr);
            EXPECT_EQ(pthread_join(pthread_self(), nullptr), EDEADLK);
            Stack const next = StackOfNewThread();
            EXPECT_TRUE(IsOwn(next));
            EXPECT_LT(next.lowest, own);
        };
        EXPECT_EQ(EndOfChild(body), 0);
    });
}

TEST(ThreadStack, AForkedChildStartsThreadsOfItsOwn) {
    WaitingThreads others(2);
    std::vector<Stack> const taken = others.Stacks();
    auto const body = [&taken] {
        char* first = nullptr;
        {
            WaitingThreads own(20);
            std::vector<Stack> const stacks = own.Stacks();
            EXPECT_TRUE(std::all_of(stacks.begin(), stacks.end(), IsOwn));
            first = stacks[0].lowest;
        }
        EXPECT_GT(first, taken[1].lowest);
        EXPECT_EQ(StackOfNewThread().lowest, first);
    };
    EXPECT_EQ(EndOfChild(body), 0);
}

TEST(ThreadStack, IsThatOfOneThreadAtATime) {
    std::mutex mutex;
    std::set<char*> in_use;
    auto const use = [&] {
        char* const own = StackOfThisThread().lowest;
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_TRUE(in_use.insert(own).second);
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
        in_use.erase(own);
    };
    std::vector<std::thread> starters;
    for (int i = 0; i < 8; ++i) {
        starters.emplace_back([use] {
            for (int round = 0; round < 500; ++round) {
                OnThread(use);
            }
        });
    }
    for (std::thread& starter : starters) {
        starter.join();
    }
}
