#include "platform/held_name.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "harness/process.h"
#include "tests/support/limited_user.h"

namespace {

// Returns true if the name is free here.
bool IsFree(char const* name) {
    int const held = HoldName(name);
    if (held < 0) {
        EXPECT_EQ(errno, EADDRINUSE);
        return false;
    }
    close(held);
    return true;
}

TEST(HoldName, OneDescriptorHoldsANameUntilItIsClosed) {
    int const held = HoldName("agent");
    ASSERT_GE(held, 0);
    EXPECT_EQ(fcntl(held, F_GETFD), FD_CLOEXEC);
    EXPECT_FALSE(IsFree("agent"));
    EXPECT_TRUE(IsFree("agent2"));
    close(held);
    EXPECT_TRUE(IsFree("agent"));
}

TEST(HoldName, EndsWithTheLastProcessThatHoldsIt) {
    int const held = HoldName("agent");
    pid_t const child = fork();
    if (child == 0) {
        for (;;) {
            pause();
        }
    }
    close(held);
    EXPECT_FALSE(IsFree("agent"));
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(IsFree("agent"));
}

TEST(HoldName, CutsNamesAfter64Characters) {
    std::string const name(64, 'x');
    int const held = HoldName(name.c_str());
    EXPECT_FALSE(IsFree((name + "y").c_str()));
    EXPECT_TRUE(IsFree((name.substr(1) + "y").c_str()));
    close(held);
}

TEST(HoldName, IsThatOfOneUser) {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    int const held = HoldName("agent");
    Process other([] {
        BecomeLimitedUser(10);
        return HoldName("agent") >= 0 ? 0 : 1;
    });
    EXPECT_EQ(other.WaitForEnd(), "exit 0");
    close(held);
}

// Containers may share a network namespace.
TEST(HoldName, IsThatOfOnePidNamespace) {
    int const held = HoldName("agent");
    Process other([] {
        if (unshare(CLONE_NEWPID) != 0) {
            return 1;
        }
        Process inside([] { return HoldName("agent") >= 0 ? 0 : 2; });
        return inside.WaitForEnd() == "exit 0" ? 0 : 3;
    });
    EXPECT_EQ(other.WaitForEnd(), "exit 0");
    close(held);
}

}  // namespace
