// The launcher as a user who is not root and has few processes, for what takes all it can
// get, or meets what root does not: refusals.

#ifndef TESTS_SUPPORT_LIMITED_LAUNCHER_H
#define TESTS_SUPPORT_LIMITED_LAUNCHER_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/launcher_fixture.h"

// Runs from a bundle and with a home that this user can reach. The user has no record;
// the environment names the home.
class LimitedLauncherTest : public LauncherTest {
  protected:
    // Skips the test if this namespace has no second user.
    void SetUp() override;

    // Starts the launcher with a file that holds `list`, in which the test program stands
    // for this user's copy of it. The user may have `limit` processes and threads.
    void StartLimited(std::string list, unsigned long limit);

    // Processes of the limited user, the launcher apart, that have not ended, in the
    // order of their starts.
    std::vector<pid_t> LinksAndPrograms() const;

    std::filesystem::path program_copy;
};

#endif
