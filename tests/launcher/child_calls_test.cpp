// The calls that a supervisor makes, in order. This program replaces the system's calls:
// it notes each of them and makes it. But it sends no signal to an id of 0 or below, and
// a forked child cannot fork again.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "harness/files.h"
#include "harness/system.h"
#include "harness/wait_for.h"
#include "launcher/child_proc.h"
#include "tests/support/next_function.h"

namespace {

using testing::ElementsAre;

// Calls of this process and of its forked children, in memory that they share. Noting a
// call takes no lock and no other memory, so a forked child may note one at any time.
struct Notes {
    static constexpr unsigned kCount = 4096;
    struct Note {
        std::atomic<bool> is_complete;
        pid_t process;
        char text[240];
    };
    std::atomic<unsigned> used;
    Note notes[kCount];
};

Notes* const notes = new (mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANON, -1, 0)) Notes{};

pid_t const test_process = getpid();

void NoteV(char const* format, va_list arguments) {
    unsigned const number = notes->used.fetch_add(1);
    if (number < Notes::kCount) {
        Notes::Note& note = notes->notes[number];
        note.process = getpid();
        std::vsnprintf(note.text, sizeof note.text, format, arguments);
        note.is_complete = true;
    }
}

[[gnu::format(printf, 1, 2)]] void Note(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NoteV(format, arguments);
    va_end(arguments);
}

// Returns whether the calling thread is the one that runs the tests.
bool IsTestThread() {
    return getpid() == test_process && CurrentThread() == test_process;
}

// Notes each line as a call.
class NotingLog final : public ILog {
  public:
    void Reserved0() override {}
    void Reserved1() override {}
    void LogV(LOGLEVEL level, char const* format, va_list arguments) override {
        char line[200];
        std::vsnprintf(line, sizeof line, format, arguments);
        Note("log %d %s", static_cast<int>(level), line);
    }
};

NotingLog noting_log;

// How the calls behave; as usual at first.
std::atomic<bool> refuse_fork = false;
std::atomic<bool> started_thread_comes_first = false;
std::atomic<int> ended_threads = 0;
std::mutex start_gate;  // a new thread begins when it is unlocked
std::function<void()> after_kill = [] {};

struct ThreadBody {
    void* (*body)(void*);
    void* argument;
};

void* RunAfterGate(void* argument) {
    ThreadBody const thread = *static_cast<ThreadBody*>(argument);
    delete static_cast<ThreadBody*>(argument);
    { std::lock_guard<std::mutex> const lock(start_gate); }
    void* const result = thread.body(thread.argument);
    ++ended_threads;
    return result;
}

// Looked up before any fork: a child that looks them up would take the linker's lock.
auto* const next_create =
    Next<int(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*)>(
        "pthread_create");
auto* const next_fork = Next<pid_t()>("fork");
auto* const next_execv = Next<int(char const*, char* const*)>("execv");
auto* const next_waitpid = Next<pid_t(pid_t, int*, int)>("waitpid");
auto* const next_nanosleep = Next<int(timespec const*, timespec*)>("nanosleep");
auto* const next_kill = Next<int(pid_t, int)>("kill");

}  // namespace

// The C libraries differ in which of their functions they declare not to throw.
extern "C" {

int pthread_create(pthread_t* thread, pthread_attr_t const* attributes,
                   void* (*body)(void*),
                   void* argument) noexcept(noexcept(pthread_create(thread, attributes,
                                                                    body, argument))) {
    if (next_create == nullptr) {  // a sanitizer's own thread, before main
        return Next<int(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*)>(
            "pthread_create")(thread, attributes, body, argument);
    }
    auto* const gated = new (std::nothrow) ThreadBody{body, argument};
    int const result =
        gated != nullptr ? next_create(thread, attributes, RunAfterGate, gated) : EAGAIN;
    if (started_thread_comes_first) {
        WaitFor([] { return notes->used > 0; });
    }
    return result;
}

pid_t fork() noexcept(noexcept(fork())) {
    Note("fork");
    if (refuse_fork || getpid() != test_process) {
        errno = EAGAIN;
        return -1;
    }
    return next_fork();
}

int execv(char const* path,
          char* const* arguments) noexcept(noexcept(execv(path, arguments))) {
    Note("execv %s", path);
    return next_execv(path, arguments);
}

pid_t waitpid(pid_t process, int* status,
              int options) noexcept(noexcept(waitpid(process, status, options))) {
    Note("waitpid");
    return next_waitpid(process, status, options);
}

int nanosleep(timespec const* time,
              timespec* left) noexcept(noexcept(nanosleep(time, left))) {
    if (!IsTestThread()) {
        Note("sleep %lld ns", time->tv_sec * 1'000'000'000LL + time->tv_nsec);
    }
    return next_nanosleep(time, left);
}

int kill(pid_t process, int number) noexcept(noexcept(kill(process, number))) {
    if (process <= 0) {
        Note("kill %d %d", static_cast<int>(process), number);
        return 0;
    }
    Note("kill the program %d", number);
    int const result = next_kill(process, number);
    after_kill();
    return result;
}
}

namespace {

class ChildCalls : public testing::Test {
  protected:
    ChildCalls() {
        setenv("TEST_PROGRAM_DIR", directory.Path().c_str(), 1);
        logger = &noting_log;
        Forget();
        ended_threads = 0;
    }
    ~ChildCalls() override {
        logger = nullptr;
        refuse_fork = false;
        started_thread_comes_first = false;
        after_kill = [] {};
    }

    // Returns an item of this name whose program is the test program with this argument.
    static JsonObject Item(std::string const& name, std::string const& argument) {
        return JsonObject((R"({"name": ")" + name + R"(", "program": ")" TEST_PROGRAM +
                           R"(", "argc": 1, "args": {"0": ")" + argument + R"("}})")
                              .c_str());
    }

    // Returns the calls of this process, in order.
    static std::vector<std::string> Calls() { return CallsOf(test_process); }

    // Returns those of the process that was forked first; none before its first call.
    static std::vector<std::string> CallsOfFirstChild() {
        for (unsigned i = 0; i < std::min(notes->used.load(), Notes::kCount); ++i) {
            Notes::Note const& note = notes->notes[i];
            if (note.is_complete && note.process != test_process) {
                return CallsOf(note.process);
            }
        }
        return {};
    }

    // Waits until this process has made `count` calls; returns that many.
    static std::vector<std::string> WaitForCalls(std::size_t count) {
        EXPECT_TRUE(WaitFor([count] { return Calls().size() >= count; }));
        std::vector<std::string> calls = Calls();
        calls.resize(std::min(calls.size(), count));
        return calls;
    }

    // Returns an item named "a" whose program runs until it is killed, or until the file
    // `word` exists.
    JsonObject LongItem() const { return Item("a", "--until=" + word); }

    // From now on, a call that kills a program only returns when the thread has ended, or
    // has begun to start the program again. That program then ends by itself.
    void DelayKillUntilThePassIsOver() const {
        after_kill = [this] {
            EXPECT_TRUE(WaitFor([] { return ended_threads == 1 || CountStarts() == 2; }));
            WriteFile(word, "");
        };
    }

    // Forgets the calls. None may be made meanwhile.
    static void Forget() {
        for (Notes::Note& note : notes->notes) {
            note.is_complete = false;
        }
        notes->used = 0;
    }

    static std::size_t CountStarts() {
        std::vector<std::string> const calls = Calls();
        return static_cast<std::size_t>(
            std::count(calls.begin(), calls.end(), "log 1 [LAUNCHER  ] Start to fork a"));
    }

    TempDirectory const directory;
    std::string const word = directory.Path() / "word";

  private:
    static std::vector<std::string> CallsOf(pid_t process) {
        std::vector<std::string> calls;
        for (unsigned i = 0; i < std::min(notes->used.load(), Notes::kCount); ++i) {
            Notes::Note const& note = notes->notes[i];
            if (note.is_complete && note.process == process) {
                calls.emplace_back(note.text);
            }
        }
        return calls;
    }
};

auto Killed(std::string const& name, int status) {
    return testing::MatchesRegex(
        "log 8 \\[LAUNCHER  \\] " + name +
        " [0-9]+ is killed\\. ret = [0-9]+, status = " + std::to_string(status));
}

TEST_F(ChildCalls, OfTwoPasses) {
    ChildProc const child("test", Item("a", "--exit=0"));
    EXPECT_THAT(WaitForCalls(10),
                ElementsAre("log 1 [LAUNCHER  ] Start to fork a", "fork", "waitpid",
                            Killed("a", 0), "sleep 50000000 ns",
                            "log 1 [LAUNCHER  ] Start to fork a", "fork", "waitpid",
                            Killed("a", 0), "sleep 50000000 ns"));
    EXPECT_THAT(CallsOfFirstChild(), ElementsAre("execv " TEST_PROGRAM));
}

TEST_F(ChildCalls, AfterAFailedExecTheChildPausesAndForks) {
    ChildProc const child("test",
                          JsonObject(R"({"name": "a", "program": "/nonexistent"})"));
    EXPECT_THAT(WaitForCalls(4)[3], Killed("a", 0));
    EXPECT_THAT(CallsOfFirstChild(),
                ElementsAre("execv /nonexistent", "sleep 50000000 ns",
                            "log 1 [LAUNCHER  ] Start to fork a", "fork",
                            "log 8 [LAUNCHER  ] Failed to fork a"));
}

TEST_F(ChildCalls, AFailedForkIsTheLast) {
    refuse_fork = true;
    {
        ChildProc const child("test", Item("a", "--exit=0"));
        WaitForCalls(3);
    }
    EXPECT_THAT(Calls(), ElementsAre("log 1 [LAUNCHER  ] Start to fork a", "fork",
                                     "log 8 [LAUNCHER  ] Failed to fork a", "kill -1 9"));
}

TEST_F(ChildCalls, WithoutAProgramTheArgumentsAreNotLookedAt) {
    for (char const* const arguments :
         {R"("argc": "2")", R"("argc": 1, "args": ["a"])", R"("argc": 2147483647)"}) {
        Forget();
        ChildProc const child(
            "test",
            JsonObject((R"({"name": "a", )" + std::string(arguments) + "}").c_str()));
        EXPECT_THAT(WaitForCalls(4)[3], Killed("a", 0)) << arguments;
        EXPECT_THAT(CallsOfFirstChild(),
                    ElementsAre("log 8 [LAUNCHER  ] program path of a is empty"))
            << arguments;
    }
}

TEST_F(ChildCalls, ANameIsNotAFormat) {
    std::string const name = "100%% %d %s %n";
    {
        ChildProc const child("test",
                              JsonObject((R"({"name": ")" + name + R"("})").c_str()));
        std::vector<std::string> const calls = WaitForCalls(4);
        EXPECT_EQ(calls[0], "log 1 [LAUNCHER  ] Start to fork " + name);
        EXPECT_THAT(calls[3], testing::StartsWith("log 8 [LAUNCHER  ] " + name + " "));
        EXPECT_THAT(calls[3], testing::EndsWith(", status = 0"));
        EXPECT_THAT(
            CallsOfFirstChild(),
            ElementsAre("log 8 [LAUNCHER  ] program path of " + name + " is empty"));
    }
    Forget();
    refuse_fork = true;
    ChildProc const child("test", Item(name, "--exit=0"));
    EXPECT_EQ(WaitForCalls(3)[2], "log 8 [LAUNCHER  ] Failed to fork " + name);
}

TEST_F(ChildCalls, AThreadThatIsStoppedBeforeItRunsDoesNothing) {
    std::unique_lock<std::mutex> gate(start_gate);
    auto child = std::make_unique<ChildProc>("test", Item("a", "--exit=0"));
    child->Stop();
    gate.unlock();
    child.reset();
    EXPECT_THAT(Calls(), ElementsAre("kill 0 9", "kill 0 9"));
}

TEST_F(ChildCalls, TheThreadMayRunBeforeItsConstructorReturns) {
    started_thread_comes_first = true;
    ChildProc const child("test", Item("a", "--exit=0"));
    EXPECT_EQ(Calls()[0], "log 1 [LAUNCHER  ] Start to fork a");
}

// In the next two tests the thread sees the end of its program, and finishes the pass,
// before the call that kills the program has returned.
TEST_F(ChildCalls, DestructionIsKnownToTheThreadBeforeTheProgramIsKilled) {
    auto child = std::make_unique<ChildProc>("test", LongItem());
    WaitForCalls(3);
    DelayKillUntilThePassIsOver();
    child.reset();
    EXPECT_THAT(Calls(),
                ElementsAre("log 1 [LAUNCHER  ] Start to fork a", "fork", "waitpid",
                            "kill the program 9", Killed("a", 9), "sleep 50000000 ns"));
}

TEST_F(ChildCalls, AStopIsKnownToTheThreadBeforeTheProgramIsKilled) {
    ChildProc child("test", LongItem());
    WaitForCalls(3);
    DelayKillUntilThePassIsOver();
    child.Stop();
    EXPECT_EQ(CountStarts(), 1U);
}

}  // namespace
