// The system's answer whether it would execute a file, beside what execv does with it.

#include "platform/exec_trial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "tests/support/limited_user.h"
#include "tests/support/linux/refuse_call.h"

namespace {

// How many other processes got a signal from this one.
int signals_sent = 0;

}  // namespace

extern "C" {

int __real_kill(pid_t pid, int number);

int __wrap_kill(pid_t pid, int number) {
    signals_sent += pid == getpid() ? 0 : 1;
    return __real_kill(pid, number);
}
}

namespace {

using Answer = ExecTrial::Answer;

ExecTrial Try(std::string path) {
    std::array<char*, 2> arguments = {path.data(), nullptr};
    return TryExec(path.c_str(), arguments.data());
}

class ExecTrialTest : public testing::Test {
  protected:
    // Makes a file that may be executed.
    std::string Program(std::string const& name, std::string const& content) const {
        std::string path = directory.Write(name, content);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
        return path;
    }

    // Expects the answer, and that execv and the system do the same.
    static void ExpectAnswer(std::string const& path, Answer answer, int error) {
        ExecTrial const trial = Try(path);
        EXPECT_EQ(trial.answer, answer) << path;
        EXPECT_EQ(trial.error, error) << path;
        Process process({path}, [] {
            rlimit const none = {0, 0};
            setrlimit(RLIMIT_CORE, &none);
        });
        EXPECT_EQ(process.WaitForEnd(), answer == Answer::Accepted ? "exit 0"
                                        : answer == Answer::Refused
                                            ? "exit 127"
                                            : "signal " + std::to_string(error))
            << path;
    }

    // Returns the program of the system with a changed byte.
    static std::string Changed(std::size_t place, char byte) {
        std::string bytes = ReadFile("/bin/true");
        bytes.at(place) = byte;
        return bytes;
    }

    TempDirectory const directory;
};

TEST_F(ExecTrialTest, ProgramsAndScriptsAreAccepted) {
    ExpectAnswer("/bin/true", Answer::Accepted, 0);
    ExpectAnswer(Program("script", "#!/bin/sh\nexit 0\n"), Answer::Accepted, 0);
    Program("level1", "#!" + Program("level0", "#!/bin/true\n") + "\n");
    ExpectAnswer(directory.Path() / "level1", Answer::Accepted, 0);
    std::string const setuid = Program("setuid", ReadFile("/bin/true"));
    chmod(setuid.c_str(), 06755);
    ExpectAnswer(setuid, Answer::Accepted, 0);
}

TEST_F(ExecTrialTest, WhatTheSystemRefusesIsRefusedForItsReason) {
    ExpectAnswer(directory.Path() / "missing", Answer::Refused, ENOENT);
    ExpectAnswer(directory.Path(), Answer::Refused, EACCES);
    ExpectAnswer(directory.Write("plain", "#!/bin/sh\n"), Answer::Refused, EACCES);
    ExpectAnswer(Program("empty", ""), Answer::Refused, ENOEXEC);
    ExpectAnswer(Program("random", "\x01\x02\x03\x80"), Answer::Refused, ENOEXEC);
    // An object file, a program for another processor, and one that is cut short.
    ExpectAnswer(Program("object", Changed(16, 1)), Answer::Refused, ENOEXEC);
    ExpectAnswer(Program("processor", Changed(18, '\xB0')), Answer::Refused, ENOEXEC);
    ExpectAnswer(Program("cut", ReadFile("/bin/true").substr(0, 100)), Answer::Refused,
                 ENOEXEC);
    std::string lost = ReadFile("/bin/true");
    std::size_t const place = lost.find("/ld-linux");
    ASSERT_NE(place, std::string::npos);
    lost[place + 1] = 'X';
    ExpectAnswer(Program("lost", lost), Answer::Refused, ENOENT);
}

TEST_F(ExecTrialTest, InterpretersOfInterpretersAreAsked) {
    std::string const lost = Program("lost", "#!/nothing/here\n");
    ExpectAnswer(Program("over_lost", "#!" + lost + "\n"), Answer::Refused, ENOENT);
    std::string const self = directory.Path() / "self";
    ExpectAnswer(Program("self", "#!" + self + "\n"), Answer::Refused, ELOOP);
    std::string path = "/bin/true";
    for (int i = 0; i < 6; ++i) {
        path = Program("level" + std::to_string(i), "#!" + path + "\n");
    }
    ExpectAnswer(path, Answer::Refused, ELOOP);
    ExpectAnswer(directory.Path() / "level4", Answer::Accepted, 0);
}

TEST_F(ExecTrialTest, AFileThatIsOpenForWritingIsRefused) {
    std::string const path = Program("busy", ReadFile("/bin/true"));
    {
        std::ofstream const writer(path, std::ios::app);
        ExpectAnswer(path, Answer::Refused, ETXTBSY);
    }
    ExpectAnswer(path, Answer::Accepted, 0);
}

TEST_F(ExecTrialTest, AFileThatTheSystemCannotLoadEndsTheProcess) {
    ExpectAnswer(Program("cut", ReadFile("/bin/true").substr(0, 5000)), Answer::Killed,
                 SIGSEGV);
}

TEST_F(ExecTrialTest, TheVeryArgumentsAreAsked) {
    std::string path = "/bin/true";
    std::string longest(131071, 'x');
    std::array<char*, 3> arguments = {path.data(), longest.data(), nullptr};
    EXPECT_EQ(TryExec(path.c_str(), arguments.data()).answer, Answer::Accepted);
    longest += 'x';
    arguments[1] = longest.data();
    ExecTrial const trial = TryExec(path.c_str(), arguments.data());
    EXPECT_EQ(trial.answer, Answer::Refused);
    EXPECT_EQ(trial.error, E2BIG);
    std::array<char*, 1> none = {nullptr};
    EXPECT_EQ(TryExec(path.c_str(), none.data()).answer, Answer::Accepted);
}

TEST_F(ExecTrialTest, DescriptorsThatTheLauncherClosesAreClosed) {
    Process tester([] {
        int const file = open("/bin/true", O_RDONLY);
        dup2(file, STDIN_FILENO);
        return Try("/proc/self/fd/0").error == ENOENT ? 0 : 1;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST_F(ExecTrialTest, WorksWithoutStandardStreams) {
    Process tester([] {
        for (int i = 0; i < 3; ++i) {
            close(i);
        }
        return Try("/bin/true").answer == Answer::Accepted &&
                       Try("/nothing/here").error == ENOENT
                   ? 0
                   : 1;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST_F(ExecTrialTest, WorksWithSignalsIgnoredAndBlocked) {
    Process tester([] {
        for (int const number : {SIGCHLD, SIGTRAP, SIGHUP, SIGTERM}) {
            std::signal(number, SIG_IGN);
        }
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        return Try("/bin/true").answer == Answer::Accepted &&
                       Try("/nothing/here").error == ENOENT
                   ? 0
                   : 1;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST_F(ExecTrialTest, NothingOfTheProgramRunsAndNothingIsLeft) {
    std::filesystem::path const marker = directory.Path() / "marker";
    std::string const script =
        Program("script", "#!/bin/sh\n: >" + marker.string() + "\n");
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(Try(script).answer, Answer::Accepted);
    }
    EXPECT_FALSE(std::filesystem::exists(marker));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ExecTrialTest, WhatHasEndedByItselfGetsNoSignal) {
    signals_sent = 0;
    Try("/nothing/here");
    EXPECT_EQ(signals_sent, 0);
    Try("/bin/true");
    EXPECT_EQ(signals_sent, 1);
}

// The process that asks is killed at every time of the asking.
TEST_F(ExecTrialTest, NothingRunsOnIfTheAskingProcessDies) {
    std::filesystem::path const marker = directory.Path() / "marker";
    std::string const script =
        Program("script", "#!/bin/sh\n: >" + marker.string() + "\n");
    std::size_t const before = AllProcesses().size();
    for (int i = 0; i < 60; ++i) {
        Process asker([&script] {
            while (Try(script).answer == Answer::Accepted) {
            }
            return 1;
        });
        usleep(static_cast<useconds_t>(i) * 100);
        asker.Signal(SIGKILL);
        EXPECT_EQ(asker.WaitForEnd(), "signal 9");
    }
    // Children that were not waited for are zombies, and no more than that.
    for (int i = 0; i < 1000 && AllProcesses().size() > before; ++i) {
        usleep(10'000);
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }
    EXPECT_FALSE(std::filesystem::exists(marker));
    for (pid_t const pid : AllProcesses()) {
        EXPECT_TRUE(pid <= getpid() || IsGone(pid)) << pid;
    }
}

TEST_F(ExecTrialTest, IfTracingIsForbiddenNothingIsAsked) {
    Process tester([] {
        ExecTrial const trial = RefuseCall(SYS_ptrace, EPERM)
                                    ? Try("/bin/true")
                                    : ExecTrial{Answer::Accepted, 0};
        return trial.answer == Answer::NotAsked && trial.error == EPERM ? 0 : 1;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
}

TEST_F(ExecTrialTest, WithoutAProcessOrDescriptorNothingIsAsked) {
    Process tester([] {
        rlimit const none = {0, 0};
        setrlimit(RLIMIT_NOFILE, &none);
        ExecTrial const trial = Try("/bin/true");
        return trial.answer == Answer::NotAsked && trial.error == EMFILE ? 0 : 1;
    });
    EXPECT_EQ(tester.WaitForEnd(), "exit 0");
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    Process alone([] {
        BecomeLimitedUser(1);
        ExecTrial const trial = Try("/bin/true");
        return trial.answer == Answer::NotAsked && trial.error == EAGAIN ? 0 : 1;
    });
    EXPECT_EQ(alone.WaitForEnd(), "exit 0");
}

}  // namespace
