// The launcher as a user who is not root and may have few processes: for chains, which
// grow up to the limit, and for what the system refuses to users other than root.

#ifndef TESTS_SUPPORT_LIMITED_LAUNCHER_H
#define TESTS_SUPPORT_LIMITED_LAUNCHER_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/launcher_fixture.h"

// Returns whether the process runs as the limited user.
bool IsOfLimitedUser(pid_t process);

// Runs from a bundle and with a home that this user can reach. The user has no passwd
// entry; the environment names the home.
class LimitedLauncherTest : public LauncherTest {
  protected:
    // Skips the test if this namespace has no second user.
    void SetUp() override;

    // Starts the launcher with a file that holds `list`, with this user's copy of the
    // test program in the place of the test program. The user may have `limit` processes
    // and threads.
    void StartLimited(std::string list, unsigned long limit);

    // Returns the processes of the limited user that have not ended, without the
    // launcher, in the order of their starts.
    std::vector<pid_t> LinksAndPrograms() const;

    std::filesystem::path program_copy;
};

#endif
