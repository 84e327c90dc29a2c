#include "common/config/process_helpers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>

#include "tests/support/allocation_limit.h"

namespace {

// Returns the descriptor that the next open gets.
int LowestFreeDescriptor() {
    int const descriptor = dup(0);
    close(descriptor);
    return descriptor;
}

bool HasChildren() {
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

// A directory of its own for each test.
class Pexec : public testing::Test {
  protected:
    Pexec() {
        std::string name = std::filesystem::temp_directory_path() / "pexec.XXXXXX";
        directory = mkdtemp(name.data());
    }
    ~Pexec() override { std::filesystem::remove_all(directory); }

    // After a test no descriptor is left open, and no child waits to be reaped.
    void SetUp() override { lowest_free = LowestFreeDescriptor(); }
    void TearDown() override {
        EXPECT_EQ(LowestFreeDescriptor(), lowest_free);
        EXPECT_FALSE(HasChildren());
    }

    std::filesystem::path directory;
    int lowest_free = -1;
};

// While one lives, `handler` handles the signal, and interrupts a system call that waits.
class InterruptingHandler {
  public:
    InterruptingHandler(int handled_signal, void (*handler)(int))
        : signal(handled_signal) {
        struct sigaction action = {};
        action.sa_handler = handler;
        sigaction(signal, &action, &before);
    }
    ~InterruptingHandler() { sigaction(signal, &before, nullptr); }
    InterruptingHandler(InterruptingHandler const&) = delete;
    InterruptingHandler& operator=(InterruptingHandler const&) = delete;

  private:
    int const signal;
    struct sigaction before = {};
};

// While one lives, this process can open nothing more.
class NoMoreDescriptors {
  public:
    NoMoreDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit now = before;
        now.rlim_cur = static_cast<rlim_t>(LowestFreeDescriptor());
        setrlimit(RLIMIT_NOFILE, &now);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before); }
    NoMoreDescriptors(NoMoreDescriptors const&) = delete;
    NoMoreDescriptors& operator=(NoMoreDescriptors const&) = delete;

  private:
    rlimit before = {};
};

TEST_F(Pexec, TheExamplesOfItsHeader) {
    EXPECT_EQ(pexec("echo one; echo two"), "one\ntwo\n");
    EXPECT_EQ(pexec("exit 1"), "");
    EXPECT_TRUE(IsRunningPID(getpid()));
}

TEST_F(Pexec, ReturnsAllLinesInOrder) {
    EXPECT_EQ(pexec("printf 'one\\ntwo\\n'"), "one\ntwo\n");
    EXPECT_EQ(pexec("printf 'one\\n\\n\\ntwo'"), "one\n\n\ntwo");
    EXPECT_EQ(pexec("printf '\\n'"), "\n");
    EXPECT_EQ(pexec("true"), "");
}

TEST_F(Pexec, ReturnsLongLinesWhole) {
    for (int const length : {126, 127, 128, 129, 254, 255, 300, 100000}) {
        std::string const line(static_cast<std::size_t>(length), 'x');
        std::ofstream(directory / "file") << line << "\nend";
        EXPECT_EQ(pexec("cat " + (directory / "file").string()), line + "\nend");
    }
}

TEST_F(Pexec, AFailingCommandReturnsWhatItPrinted) {
    EXPECT_EQ(pexec("exit 1"), "");
    EXPECT_EQ(pexec("echo before; exit 3"), "before\n");
    EXPECT_EQ(pexec("echo before; kill -KILL $$"), "before\n");
    EXPECT_EQ(pexec("exec 2>/dev/null; no-such-command-anywhere"), "");
}

TEST_F(Pexec, TakesStandardOutputAlone) {
    std::string const error_file = (directory / "error").string();
    EXPECT_EQ(pexec("{ echo out; echo error >&2; } 2>" + error_file), "out\n");

    // What the command does not redirect is the caller's.
    int const saved = dup(2);
    int const file = open(error_file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    dup2(file, 2);
    std::string const output = pexec("echo out; echo error >&2");
    dup2(saved, 2);
    close(saved);
    close(file);
    EXPECT_EQ(output, "out\n");
    EXPECT_EQ(pexec("cat " + error_file), "error\n");
}

TEST_F(Pexec, TheCommandReadsTheCallersStandardInput) {
    std::ofstream(directory / "input") << "given\n";
    int const saved = dup(0);
    int const file = open((directory / "input").c_str(), O_RDONLY | O_CLOEXEC);
    dup2(file, 0);
    std::string const output = pexec("cat");
    dup2(saved, 0);
    close(saved);
    close(file);
    EXPECT_EQ(output, "given\n");
}

TEST_F(Pexec, TheShellReadsTheCommand) {
    EXPECT_EQ(pexec("for i in 1 2; do echo \"$i\" | tr 12 ab; done"), "a\nb\n");
}

TEST_F(Pexec, ANulEndsItsPiece) {
    EXPECT_EQ(pexec("printf 'a\\0b\\nc\\n'"), "ac\n");
    EXPECT_EQ(pexec("printf '\\0a\\n'"), "");
    // A piece has at most 127 characters: here the NUL is the last of one, or the first
    // of the next.
    std::string const x126(126, 'x');
    EXPECT_EQ(pexec("printf '" + x126 + "\\0tail\\n'"), x126 + "tail\n");
    EXPECT_EQ(pexec("printf '" + x126 + "x\\0tail\\nend'"), x126 + "xend");
}

TEST_F(Pexec, WaitsForTheCommandToEnd) {
    // The output ends at once, the command ends later.
    EXPECT_EQ(
        pexec("exec >/dev/null; sleep 0.2; echo done >" + (directory / "done").string()),
        "");
    EXPECT_TRUE(std::filesystem::exists(directory / "done"));
}

TEST_F(Pexec, ThrowsIfTheCommandCannotBeStarted) {
    // UndefinedBehaviorSanitizer needs a descriptor for the first look at each type.
    pexec("true");
    try {
        NoMoreDescriptors const limit;
        pexec("echo one");
        ADD_FAILURE() << "nothing was thrown";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "popen() failed!");
    }
    EXPECT_EQ(pexec("echo one"), "one\n");
}

TEST_F(Pexec, ClosesThePipeAndReapsTheShellWhenMemoryRunsOut) {
    AllocationLimit const limit(65536);
    EXPECT_THROW(pexec("yes"), std::bad_alloc);
}

// What the next two tests and their signal handlers share.
volatile std::sig_atomic_t signals_seen = 0;
volatile std::sig_atomic_t descriptor_to_close = -1;

TEST_F(Pexec, ReadsOnAfterAnInterruption) {
    signals_seen = 0;
    InterruptingHandler const handler(SIGUSR1, [](int) { signals_seen = 1; });
    // The command waits until its caller sleeps, in the read, and interrupts it. It
    // writes the rest once the caller has taken the signal.
    EXPECT_EQ(
        pexec("echo one; "
              "until grep -q '^State:.S' /proc/$PPID/status; do :; done; "
              "kill -USR1 $PPID; "
              "until ! grep -q '^ShdPnd:.*[1-9a-f]' /proc/$PPID/status; do :; done; "
              "echo two"),
        "one\ntwo\n");
    EXPECT_EQ(signals_seen, 1);
}

TEST_F(Pexec, AReadThatFailsForGoodEndsTheOutput) {
    // The handler closes the pipe, and then lets the command end.
    static std::string const flag = directory / "flag";
    std::ofstream(flag.c_str()).close();
    descriptor_to_close = LowestFreeDescriptor();
    InterruptingHandler const handler(SIGUSR1, [](int) {
        close(descriptor_to_close);
        unlink(flag.c_str());
    });
    EXPECT_EQ(pexec("kill -USR1 $PPID; while test -e " + flag + "; do :; done"), "");
    wait(nullptr);
}

TEST(IsRunningPid, IsTrueForTheCallerItsParentAndAProcessThatRuns) {
    EXPECT_TRUE(IsRunningPID(getpid()));
    EXPECT_TRUE(IsRunningPID(getppid()));
    EXPECT_TRUE(IsRunningPID(1));
}

TEST(IsRunningPid, IsTrueForAnEndedChildUntilItIsReaped) {
    pid_t const child = fork();
    if (child == 0) {
        _exit(0);
    }
    siginfo_t ended;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(IsRunningPID(child));
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_FALSE(IsRunningPID(child));
}

TEST(IsRunningPid, IsFalseForAnIdThatWasNeverUsed) {
    EXPECT_FALSE(IsRunningPID(INT_MAX));
    EXPECT_FALSE(IsRunningPID(INT_MAX - 1));
}

// As for kill: 0 is the caller's process group, and a negative number is a group too.
TEST(IsRunningPid, OfAGroupIsTrueIfItHasAProcess) {
    EXPECT_TRUE(IsRunningPID(0));
    EXPECT_TRUE(IsRunningPID(-getpgrp()));
    EXPECT_FALSE(IsRunningPID(-INT_MAX));
}

TEST(IsRunningPid, NarrowsItsArgument) {
    long long const beyond = 1LL << 32;
    EXPECT_TRUE(IsRunningPID(beyond + getpid()));
    EXPECT_TRUE(IsRunningPID(getpid() - beyond));
    EXPECT_FALSE(IsRunningPID(beyond + INT_MAX));
    EXPECT_TRUE(IsRunningPID(beyond));
}

TEST(IsRunningPid, DisturbsNobody) {
    pid_t const child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    EXPECT_TRUE(IsRunningPID(child));
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
}

TEST(IsRunningPid, IsFalseForAnotherUsersProcess) {
    int const cannot_change_user = 9;
    uid_t const nobody = 65534;
    pid_t const child = fork();
    if (child == 0) {
        if (setuid(nobody) != 0) {
            _exit(cannot_change_user);
        }
        bool const as_expected = !IsRunningPID(getppid()) && IsRunningPID(getpid());
        _exit(as_expected ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == cannot_change_user) {
        GTEST_SKIP() << "there is no second user here";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
