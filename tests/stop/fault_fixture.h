// launch-with and launcher-stop on a system that refuses what they need.

#ifndef TESTS_STOP_FAULT_FIXTURE_H
#define TESTS_STOP_FAULT_FIXTURE_H

#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"

class StopFault : public LauncherTest {
  protected:
    // Returns launch-with's command line for a deaf program with a deaf child in another
    // session.
    std::vector<std::string> FamilyCommand(std::string const& grace) const {
        return {LAUNCH_WITH,  "--grace", grace,     "--",
                LONE_PROGRAM, "family",  Reports(), "family"};
    }

    std::string Reports() const { return directory.Path() / "reports"; }

    // Returns the processes that execute the lone program.
    static std::vector<pid_t> LonePrograms() {
        std::vector<pid_t> programs;
        for (pid_t const pid : AllProcesses()) {
            if (!IsGone(pid) && ProgramOf(pid) == LONE_PROGRAM) {
                programs.push_back(pid);
            }
        }
        return programs;
    }

    bool AwaitFamily() const {
        return WaitFor([this] { return Lines(ReadFile(Reports())).size() == 2; });
    }
};

#endif
