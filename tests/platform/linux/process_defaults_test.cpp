#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

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

// Returns the line of /proc/self/maps that the address is in.
std::string MappingOf(void const* address) {
    auto const wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::istringstream words(line);
        words >> std::hex >> first >> dash >> end;
        if (first <= wanted && wanted < end) {
            return line;
        }
    }
    return "no mapping";
}

// Returns the signal that ends a forked child which runs `body`, 0 if it ends by itself.
int SignalOfChild(std::function<void()> const& body) {
    pid_t const child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

}  // namespace

TEST(ProcessDefaults, ThreadsHaveStacksOf512Kib) {
    std::thread([] { EXPECT_EQ(StackOfThisThread().size, 512U * 1024); }).join();
}

TEST(ProcessDefaults, ThreadsShareTheHeapOfTheMainThread) {
    for (int i = 0; i < 4; ++i) {
        std::thread([] {
            void* const memory = std::calloc(1, 1000);
            std::string const mapping = MappingOf(memory);
            EXPECT_NE(mapping.find("[heap]"), std::string::npos) << mapping;
            std::free(memory);
        }).join();
    }
}

// Where the libraries leave holes, the first stacks lie apart.
TEST(ProcessDefaults, StacksOfManyThreadsLieInFewMappings) {
    std::promise<void> all_started;
    std::shared_future<void> const start = all_started.get_future().share();
    std::vector<std::future<char*>> stacks;
    for (int i = 0; i < 50; ++i) {
        stacks.push_back(std::async(std::launch::async, [start] {
            start.wait();
            return StackOfThisThread().lowest;
        }));
    }
    all_started.set_value();
    std::set<std::string> mappings;
    for (std::future<char*>& stack : stacks) {
        mappings.insert(MappingOf(stack.get()));
    }
    EXPECT_LT(mappings.size(), 10U);
}

TEST(ProcessDefaults, EveryThreadThatHasForkedHasAGuardBelowItsStack) {
    std::promise<void> all_started;
    std::shared_future<void> const start = all_started.get_future().share();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([start] {
            start.wait();
            Stack const stack = StackOfThisThread();
            EXPECT_EQ(SignalOfChild([] {}), 0);
            EXPECT_EQ(SignalOfChild([&] { stack.lowest[4095] = 1; }), SIGSEGV);
            EXPECT_EQ(SignalOfChild([&] { stack.lowest[4096] = 1; }), 0);
        });
    }
    all_started.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(ProcessDefaults, TheMainThreadForksToo) {
    EXPECT_EQ(SignalOfChild([] {}), 0);
}

TEST(ProcessDefaults, AForkKeepsErrno) {
    std::thread([] {
        errno = 4711;
        pid_t const child = fork();
        if (child == 0) {
            _exit(errno == 4711 ? 0 : 1);
        }
        EXPECT_EQ(errno, 4711);
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }).join();
}
