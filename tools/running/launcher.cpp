#include "tools/running/launcher.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace running {

namespace {

constexpr std::string_view kPathInBundle = "/Tamlin.app/Contents/MacOS/launcher";
constexpr std::size_t kName = 1;
constexpr std::size_t kList = 2;

}  // namespace

bool IsLauncherFile(std::string const& program) {
    return program.size() > kPathInBundle.size() &&
           program.compare(program.size() - kPathInBundle.size(), std::string::npos,
                           kPathInBundle) == 0;
}

bool IsFork(ProcessInfo const& process) {
    return !process.has_executed && !process.is_zombie && IsLauncherFile(process.program);
}

std::vector<Launcher> FindLaunchers(Snapshot const& snapshot, uid_t user) {
    std::vector<Launcher> launchers;
    for (ProcessInfo const& process : snapshot.All()) {
        bool const is_launcher = process.has_executed && !process.is_zombie &&
                                 IsLauncherFile(process.program) &&
                                 process.arguments.size() > kList;
        if (is_launcher && (user == 0 || process.user == user)) {
            launchers.push_back({process, process.arguments[kName], ListOf(process)});
        }
    }
    return launchers;
}

std::string ListOf(ProcessInfo const& process) {
    if (process.arguments.size() <= kList) {
        return "";
    }
    std::filesystem::path const path =
        std::filesystem::path(DirectoryOf(process.id)) / process.arguments[kList];
    return path.lexically_normal();
}

bool IsSameList(std::string const& a, std::string const& b) {
    std::error_code error;
    if (std::filesystem::equivalent(a, b, error)) {
        return true;
    }
    std::filesystem::path const first = std::filesystem::weakly_canonical(a, error);
    return !error && first == std::filesystem::weakly_canonical(b, error) && !error;
}

bool HasListChanged(Launcher const& launcher) {
    // The start of a process is known to some milliseconds, and files may have full
    // seconds.
    constexpr long long kTolerance = 1000;
    struct stat status = {};
    return stat(launcher.list.c_str(), &status) == 0 &&
           static_cast<long long>(std::max(status.st_mtime, status.st_ctime)) * 1000 >
               launcher.process.start_time + kTolerance;
}

}  // namespace running
