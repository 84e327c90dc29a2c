#include "platform/process_table.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <thread>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "harness/wait_for.h"

namespace {

using testing::ElementsAre;

long long Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Waits until the process has executed its program.
void WaitUntilExecuted(pid_t pid) {
    ASSERT_TRUE(WaitFor([pid] { return ReadProcess(pid)->has_executed; }));
}

TEST(ReadProcess, TellsWhatAProcessIs) {
    long long const before = Now();
    Process const program({"/bin/sleep", "1000"});
    WaitUntilExecuted(program.Pid());
    ProcessInfo const process = *ReadProcess(program.Pid());
    EXPECT_EQ(process.id, program.Pid());
    EXPECT_EQ(process.parent, getpid());
    EXPECT_EQ(process.group, program.Pid());
    EXPECT_EQ(process.session, program.Pid());
    EXPECT_EQ(process.user, getuid());
    EXPECT_EQ(process.threads, 1);
    EXPECT_THAT(process.arguments, ElementsAre("/bin/sleep", "1000"));
    EXPECT_EQ(process.program, std::filesystem::canonical("/bin/sleep"));
    EXPECT_GE(process.start_time, before - 20);
    EXPECT_LE(process.start_time, Now() + 20);
    EXPECT_GT(process.memory, 0);
    EXPECT_FALSE(process.is_zombie || process.is_stopped);
}

TEST(ReadProcess, TellsAForkFromWhatExecutes) {
    Process const fork([] { return pause(); });
    EXPECT_FALSE(ReadProcess(fork.Pid())->has_executed);
    EXPECT_TRUE(ReadProcess(getpid())->has_executed);
}

TEST(ReadProcess, TellsTheStateAndTheCpuTime) {
    Process const busy([] {
        for (;;) {
            getppid();
        }
        return 0;
    });
    EXPECT_TRUE(WaitFor([&busy] { return ReadProcess(busy.Pid())->cpu_time >= 30; }));
    busy.Signal(SIGSTOP);
    EXPECT_TRUE(WaitFor([&busy] { return ReadProcess(busy.Pid())->is_stopped; }));
    busy.Signal(SIGKILL);
    EXPECT_TRUE(WaitFor([&busy] { return ReadProcess(busy.Pid())->is_zombie; }));
}

TEST(ReadProcess, ReadsEmptyArgumentsAndNamesWithParenthesesAndRemovedFiles) {
    TempDirectory const folder;
    std::filesystem::path const program = folder.Path() / "a) S 1 (b";
    std::filesystem::copy("/bin/sh", program);
    std::string const text = "kill -STOP $$";
    Process const process({program, "-c", text, "", ""});
    ASSERT_TRUE(WaitFor([&process] { return ReadProcess(process.Pid())->is_stopped; }));
    std::filesystem::remove(program);
    ProcessInfo const info = *ReadProcess(process.Pid());
    EXPECT_EQ(info.parent, getpid());
    EXPECT_EQ(info.program, program);
    EXPECT_THAT(info.arguments, ElementsAre(program.string(), "-c", text, "", ""));
}

TEST(ReadProcess, HasNothingForAnIdThatIsFree) {
    EXPECT_FALSE(ReadProcess(4194303).has_value());
}

TEST(ReadProcesses, HasThisProcessOnceAndTheFirst) {
    std::vector<ProcessInfo> const all = ReadProcesses();
    auto const count = [&all](pid_t id) {
        return std::count_if(all.begin(), all.end(),
                             [id](ProcessInfo const& it) { return it.id == id; });
    };
    EXPECT_EQ(count(getpid()), 1);
    EXPECT_EQ(count(1), 1);
    EXPECT_EQ(count(0), 0);
}

// Returns whether the only thread of the process comes to be like that. While it starts,
// it may wait for something else.
template <typename Condition>
bool ItsThreadComesToBe(Process const& process, Condition is_so) {
    return WaitFor([&] {
        std::vector<ThreadInfo> const threads = ReadThreads(process.Pid());
        return threads.size() == 1 && threads[0].id == process.Pid() && is_so(threads[0]);
    });
}

bool ComesToWait(Process const& process, bool for_child_or_time, bool for_thread) {
    return ItsThreadComesToBe(process, [&](ThreadInfo const& thread) {
        return thread.waits && thread.waits_for_child_or_time == for_child_or_time &&
               thread.waits_for_thread == for_thread;
    });
}

// A process that sleeps for a moment, again and again, until another one answers it.
int ExchangeBytes() {
    int question[2] = {};
    int answer[2] = {};
    char byte = 0;
    if (pipe(question) != 0 || pipe(answer) != 0) {
        return 1;
    }
    bool const is_child = fork() == 0;
    if (is_child) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    }
    int const in = is_child ? question[0] : answer[0];
    int const out = is_child ? answer[1] : question[1];
    while ((is_child || write(out, &byte, 1) == 1) && read(in, &byte, 1) == 1 &&
           (!is_child || write(out, &byte, 1) == 1)) {
    }
    return 0;
}

TEST(ReadThreads, AThreadThatIsAboutToSleepDoesNotSeemToWaitForAChild) {
    Process const process([] {
        std::thread exchanging(ExchangeBytes);
        exchanging.join();
        return 0;
    });
    // As long as the first thread, too, is only about to sleep, the system tells nothing.
    EXPECT_TRUE(WaitFor([&process] {
        std::vector<ThreadInfo> const threads = ReadThreads(process.Pid());
        return threads.size() == 2 && threads[0].waits_for_thread &&
               !threads[0].waits_for_child_or_time;
    }));
    for (int i = 0; i < 10'000; ++i) {
        for (ThreadInfo const& thread : ReadThreads(process.Pid())) {
            ASSERT_FALSE(thread.waits_for_child_or_time) << i;
        }
    }
}

TEST(ReadThreads, TellsWhatAThreadWaitsFor) {
    Process const sleeper([] { return usleep(1000'000'000); });
    EXPECT_TRUE(ComesToWait(sleeper, true, false));

    Process const parent([] {
        pid_t const child = fork();
        return child == 0 ? pause() : waitpid(child, nullptr, 0);
    });
    EXPECT_TRUE(ComesToWait(parent, true, false));

    Process const locked([] {
        std::mutex mutex;
        std::condition_variable condition;
        std::unique_lock<std::mutex> lock(mutex);
        condition.wait(lock, [] { return false; });
        return 0;
    });
    EXPECT_TRUE(ComesToWait(locked, false, true));

    Process const reader([] {
        int ends[2] = {};
        char byte = 0;
        return pipe(ends) + static_cast<int>(read(ends[0], &byte, 1));
    });
    EXPECT_TRUE(ComesToWait(reader, false, false));
}

TEST(ReadThreads, TellsWhatRunsAndWhatBlocksSigterm) {
    Process const busy([] {
        for (volatile unsigned i = 0;; i = i + 1) {
        }
        return 0;
    });
    EXPECT_TRUE(ItsThreadComesToBe(busy, [](ThreadInfo const& thread) {
        return !thread.waits && !thread.blocks_sigterm;
    }));

    Process const handling([] {
        std::signal(SIGTERM, [](int) { pause(); });
        return raise(SIGTERM);
    });
    EXPECT_TRUE(ItsThreadComesToBe(handling, [](ThreadInfo const& thread) {
        return thread.waits && thread.blocks_sigterm;
    }));
    Process const other([] {
        std::signal(SIGINT, [](int) { pause(); });
        return raise(SIGINT);
    });
    EXPECT_TRUE(ItsThreadComesToBe(other, [](ThreadInfo const& thread) {
        return thread.waits && !thread.blocks_sigterm;
    }));
}

TEST(ReadThreads, HasAllThreads) {
    Process const process([] {
        std::thread([] { pause(); }).detach();
        return pause();
    });
    EXPECT_TRUE(WaitFor([&process] { return ReadThreads(process.Pid()).size() == 2; }));
    EXPECT_TRUE(ReadThreads(4194303).empty());
}

TEST(DirectoryOf, IsTheCurrentDirectory) {
    EXPECT_EQ(DirectoryOf(getpid()), std::filesystem::current_path());
    EXPECT_EQ(DirectoryOf(4194303), "");
}

}  // namespace
