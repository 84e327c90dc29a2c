#include "tests/support/limited_launcher.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

void LimitedLauncherTest::SetUp() {
    if (!HasLimitedUser()) {
        GTEST_SKIP() << "this namespace has no second user";
    }
    std::filesystem::copy(std::filesystem::path(BUNDLE).parent_path(),
                          directory.Path() / "Tamlin.app",
                          std::filesystem::copy_options::recursive);
    probe_copy = directory.Path() / "probe";
    std::filesystem::copy(PROBE, probe_copy);
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
    for (std::size_t at = 0; (at = list.find(PROBE, at)) != std::string::npos;) {
        list.replace(at, std::string(PROBE).size(), probe_copy);
    }
    Start(list, [limit] { BecomeLimitedUser(limit + SANITIZER_THREADS); });
}

std::vector<pid_t> LimitedLauncherTest::LinksAndPrograms() const {
    std::vector<pid_t> processes = AllProcesses();
    processes.erase(std::remove_if(processes.begin(), processes.end(),
                                   [this](pid_t pid) {
                                       struct stat info = {};
                                       std::string const path =
                                           "/proc/" + std::to_string(pid);
                                       return stat(path.c_str(), &info) != 0 ||
                                              info.st_uid != LimitedUser() ||
                                              IsGone(pid) || pid == launcher->Pid();
                                   }),
                    processes.end());
    std::sort(processes.begin(), processes.end());
    return processes;
}
