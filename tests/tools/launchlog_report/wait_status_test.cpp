#include "tools/launchlog_report/wait_status.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace launchlog_report {
namespace {

std::string Words(long long status) {
    return Describe(DecodeWaitStatus(status));
}

TEST(WaitStatus, ExitCodes) {
    EXPECT_EQ(Words(0), "exit 0");
    EXPECT_EQ(Words(256), "exit 1");
    EXPECT_EQ(Words(768), "exit 3");
    EXPECT_EQ(Words(65280), "exit 255");
    EXPECT_EQ(DecodeWaitStatus(768).exit_code, 3);
    EXPECT_EQ(DecodeWaitStatus(768).signal, std::nullopt);
}

TEST(WaitStatus, SignalsAndCoreDumps) {
    EXPECT_EQ(Words(9), "killed by SIGKILL");
    EXPECT_EQ(Words(11), "killed by SIGSEGV");
    EXPECT_EQ(Words(139), "killed by SIGSEGV, core dumped");
    EXPECT_EQ(Words(134), "killed by SIGABRT, core dumped");
    EXPECT_EQ(Words(126), "killed by signal 126");
    EXPECT_EQ(DecodeWaitStatus(139).signal, SIGSEGV);
    EXPECT_TRUE(DecodeWaitStatus(139).core_dumped);
    EXPECT_FALSE(DecodeWaitStatus(11).core_dumped);
    EXPECT_EQ(DecodeWaitStatus(9).exit_code, std::nullopt);
}

TEST(WaitStatus, AStatusThatIsNoEndStaysANumber) {
    EXPECT_EQ(Words(-1), "status -1");
    EXPECT_EQ(Words(0x80), "status 128");
    EXPECT_EQ(Words(0x7F), "status 127");
    EXPECT_EQ(Words(0xFF), "status 255");
    EXPECT_EQ(Words(0x137F), "status 4991");
    EXPECT_EQ(Words(256 + 9), "status 265");
    EXPECT_EQ(Words(0x10000), "status 65536");
    EXPECT_EQ(Words(1LL << 40U), "status 1099511627776");
}

TEST(WaitStatus, AgreesWithTheSystem) {
    for (int status = 0; status <= 0xFFFF; ++status) {
        ProgramEnd const end = DecodeWaitStatus(status);
        if (end.exit_code) {
            ASSERT_TRUE(WIFEXITED(status)) << status;
            ASSERT_EQ(*end.exit_code, WEXITSTATUS(status));
        } else if (end.signal) {
            ASSERT_TRUE(WIFSIGNALED(status)) << status;
            ASSERT_EQ(*end.signal, WTERMSIG(status));
            ASSERT_EQ(end.core_dumped, WCOREDUMP(status) != 0);
        }
    }
    for (int signal : {SIGTERM, SIGKILL, SIGUSR1, SIGPIPE}) {
        pid_t const child = fork();
        if (child == 0) {
            raise(signal);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(Words(status), "killed by " + SignalName(signal));
    }
}

TEST(SignalName, NamesWhatItKnows) {
    EXPECT_EQ(SignalName(SIGTERM), "SIGTERM");
    EXPECT_EQ(SignalName(SIGBUS), "SIGBUS");
    EXPECT_EQ(SignalName(SIGUSR2), "SIGUSR2");
    EXPECT_EQ(SignalName(0), "signal 0");
    EXPECT_EQ(SignalName(99), "signal 99");
}

}  // namespace
}  // namespace launchlog_report
