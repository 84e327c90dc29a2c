#include "platform/held_name.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "harness/wait_for.h"
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

// With no semaphores but its own.
class HoldNameForLifeTest : public testing::Test {
  protected:
    HoldNameForLifeTest() { EXPECT_EQ(unshare(CLONE_NEWIPC), 0); }

    // Returns the file that has a line for each set of semaphores, and one before them.
    static std::vector<std::string> Semaphores() {
        return Lines(ReadFile("/proc/sysvipc/sem"));
    }

    // Makes the semaphores of "agent", which nobody holds, and returns their id.
    static int MakeSemaphores() {
        Process holder([] {
            HoldNameForLife("agent");
            return 0;
        });
        EXPECT_EQ(holder.WaitForEnd(), "exit 0");
        EXPECT_EQ(Semaphores().size(), 2U);
        std::istringstream line(Semaphores().back());
        std::string key;
        int id = -1;
        line >> key >> id;
        return id;
    }
};

TEST_F(HoldNameForLifeTest, LastsThroughExecUntilTheProcessEndsAndWithoutItsChildren) {
    EXPECT_FALSE(IsNameHeldForLife("agent"));
    Process holder({"/bin/sh", "-c", "sleep 1000 & exec sleep 2000"},
                   [] { HoldNameForLife("agent"); });
    ASSERT_TRUE(WaitFor(
        [&holder] { return ProcValue(holder.Pid(), "status", "Name") == "sleep"; }));
    EXPECT_TRUE(IsNameHeldForLife("agent"));
    EXPECT_FALSE(IsNameHeldForLife("agent2"));
    holder.Signal(SIGKILL);
    EXPECT_EQ(holder.WaitForEnd(), "signal 9");
    EXPECT_FALSE(IsNameHeldForLife("agent"));
}

TEST_F(HoldNameForLifeTest, TheNextOneUsesTheSemaphoresThatAreLeft) {
    MakeSemaphores();
    HoldNameForLife("agent");
    EXPECT_TRUE(IsNameHeldForLife("agent"));
    EXPECT_EQ(Semaphores().size(), 2U);
}

TEST_F(HoldNameForLifeTest, ItIsForgotten) {
    MakeSemaphores();
    ForgetName("agent2");
    EXPECT_EQ(Semaphores().size(), 2U);
    ForgetName("agent");
    EXPECT_EQ(Semaphores().size(), 1U);
}

TEST_F(HoldNameForLifeTest, AnotherNameWithTheSameKeyIsLeftAlone) {
    int const set = MakeSemaphores();
    std::array<unsigned short, 4> others = {1, 2, 3, 4};
    ASSERT_EQ(semctl(set, 0, SETALL, others.data()), 0);
    EXPECT_FALSE(IsNameHeldForLife("agent"));
    ForgetName("agent");
    HoldNameForLife("agent");
    std::array<unsigned short, 4> values = {};
    ASSERT_EQ(semctl(set, 0, GETALL, values.data()), 0);
    EXPECT_EQ(values, others);
}

TEST_F(HoldNameForLifeTest, TakesTheKeyOfAnotherNameThatNobodyHolds) {
    int const set = MakeSemaphores();
    std::array<unsigned short, 4> others = {0, 2, 3, 4};
    ASSERT_EQ(semctl(set, 0, SETALL, others.data()), 0);
    HoldNameForLife("agent");
    EXPECT_TRUE(IsNameHeldForLife("agent"));
}

TEST_F(HoldNameForLifeTest, IsThatOfOnePidNamespace) {
    HoldNameForLife("agent");
    Process other([] {
        if (unshare(CLONE_NEWPID) != 0) {
            return 1;
        }
        Process inside([] { return IsNameHeldForLife("agent") ? 2 : 0; });
        return inside.WaitForEnd() == "exit 0" ? 0 : 3;
    });
    EXPECT_EQ(other.WaitForEnd(), "exit 0");
}

}  // namespace
