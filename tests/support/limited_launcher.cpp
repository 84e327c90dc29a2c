#include "tests/support/limited_launcher.h"
#include "harness/proc.h"
#include "tests/support/limited_user.h"

#include <algorithm>
#include <cstdlib>

bool IsOfLimitedUser(pid_t process) {
    // The first of four numbers.
    return ProcNumber(process, "status", "Uid") == static_cast<long>(LimitedUser());
}

void LimitedLauncherTest::SetUp() {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    std::filesystem::copy(std::filesystem::path(BUNDLE).parent_path(),
                          directory.Path() / "Tamlin.app",
                          std::filesystem::copy_options::recursive);
    program_copy = directory.Path() / "program";
    std::filesystem::copy(TEST_PROGRAM, program_copy);
    launcher_program = directory.Path() / "Tamlin.app/Contents/MacOS/launcher";
    std::filesystem::create_directories(log_file.parent_path());
    std::filesystem::permissions(log_file.parent_path(), std::filesystem::perms(0777));
    setenv("HOME", home.c_str(), 1);
}

void LimitedLauncherTest::StartLimited(std::string list, unsigned long limit) {
    // The leak check needs a process more than the limit allows.
    char const* const options = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS",
           (std::string(options != nullptr ? options : "") + ":detect_leaks=0").c_str(),
           1);
    for (std::size_t at = 0; (at = list.find(TEST_PROGRAM, at)) != std::string::npos;) {
        list.replace(at, std::string(TEST_PROGRAM).size(), program_copy);
    }
    Start(list, [limit] { BecomeLimitedUser(limit + SANITIZER_THREADS); });
}

std::vector<pid_t> LimitedLauncherTest::LinksAndPrograms() const {
    std::vector<pid_t> processes = AllProcesses();
    processes.erase(std::remove_if(processes.begin(), processes.end(),
                                   [this](pid_t pid) {
                                       return !IsOfLimitedUser(pid) || IsGone(pid) ||
                                              pid == launcher->Pid();
                                   }),
                    processes.end());
    std::sort(processes.begin(), processes.end());
    return processes;
}
