#include "platform/process_handle.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

#include "harness/files.h"
#include "harness/process.h"

namespace {

Process Sleeper() {
    return Process({"/bin/sleep", "1000"});
}

TEST(ProcessHandle, SignalsTheProcessAndSeesItsEndBeforeItIsReaped) {
    Process process = Sleeper();
    ProcessHandle const handle(process.Pid());
    ASSERT_TRUE(handle.IsOpen());
    EXPECT_EQ(handle.Pid(), process.Pid());
    EXPECT_FALSE(handle.HasEnded());

    EXPECT_TRUE(handle.Signal(SIGTERM));

    pollfd end = {handle.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, 30'000), 1);
    EXPECT_TRUE(handle.HasEnded());
    EXPECT_EQ(process.WaitForEnd(), "signal 15");
}

TEST(ProcessHandle, SendsNothingAfterTheEnd) {
    Process process = Sleeper();
    ProcessHandle const handle(process.Pid());
    process.Signal(SIGKILL);
    EXPECT_EQ(process.WaitForEnd(), "signal 9");

    EXPECT_TRUE(handle.HasEnded());
    EXPECT_FALSE(handle.Signal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
}

TEST(ProcessHandle, NeverMeansAnotherProcessThatGotTheSameId) {
    std::string const last_id = "/proc/sys/kernel/ns_last_pid";
    if (access(last_id.c_str(), W_OK) != 0) {
        GTEST_SKIP() << "the system lets nobody choose an id";
    }
    Process first = Sleeper();
    pid_t const id = first.Pid();
    ProcessHandle const handle(id);
    first.Signal(SIGKILL);
    ASSERT_EQ(first.WaitForEnd(), "signal 9");
    // The system gives the next process the id after this one.
    WriteFile(last_id, std::to_string(id - 1));
    Process second = Sleeper();
    ASSERT_EQ(second.Pid(), id);

    EXPECT_TRUE(handle.HasEnded());
    EXPECT_FALSE(handle.Signal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
    EXPECT_TRUE(ProcessHandle(id).Signal(0));
    EXPECT_FALSE(second.HasEnded());
}

TEST(ProcessHandle, IsNotOpenWithoutAProcess) {
    Process process = Sleeper();
    process.Signal(SIGKILL);
    process.WaitForEnd();

    ProcessHandle const handle(process.Pid());
    EXPECT_EQ(errno, ESRCH);
    EXPECT_FALSE(handle.IsOpen());
    EXPECT_TRUE(handle.HasEnded());
    EXPECT_FALSE(handle.Signal(0));
    EXPECT_EQ(errno, ESRCH);
}

TEST(ProcessHandle, IsClosedOnExecAndMovesItsDescriptor) {
    ProcessHandle handle(getpid());
    int const descriptor = handle.Descriptor();
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);

    ProcessHandle const other(std::move(handle));
    EXPECT_EQ(other.Descriptor(), descriptor);
    EXPECT_TRUE(other.Signal(0));
}

}  // namespace
