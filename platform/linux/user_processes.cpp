#include "platform/user_processes.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include "platform/linux/control_group.h"

namespace {

// Some of the lines of /proc/PID/status.
struct ProcessStatus {
    long uid = -1;
    long threads = 0;
    std::uint64_t capabilities = 0;
};

ProcessStatus ReadStatus(std::filesystem::path const& process) {
    ProcessStatus status;
    std::ifstream file(process / "status");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "Uid:") {
            words >> status.uid;
        } else if (word == "Threads:") {
            words >> status.threads;
        } else if (word == "CapEff:") {
            words >> std::hex >> status.capabilities;
        }
    }
    return status;
}

// Returns true in the namespace of the system's own users. In all others the limit holds
// for root too.
bool IsFirstUserNamespace() {
    std::ifstream file("/proc/self/uid_map");
    long inside = -1;
    long outside = -1;
    long count = -1;
    file >> inside >> outside >> count;
    return inside == 0 && outside == 0 && count == 4'294'967'295;
}

// Returns true if the limit does not hold for this process: its user is root, or it has
// the capability CAP_SYS_ADMIN or CAP_SYS_RESOURCE.
bool IsExempt() {
    std::uint64_t const exempting = 1ULL << 21U | 1ULL << 24U;
    return IsFirstUserNamespace() &&
           (getuid() == 0 || (ReadStatus("/proc/self").capabilities & exempting) != 0);
}

bool IsProcess(std::filesystem::path const& entry) {
    return entry.filename().string().find_first_not_of("0123456789") == std::string::npos;
}

std::optional<UserProcesses> CountOfUser() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NPROC, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
        IsExempt()) {
        return std::nullopt;
    }
    UserProcesses processes = {static_cast<long>(limit.rlim_cur), 0};
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end;
         !error && entry != end; entry.increment(error)) {
        if (IsProcess(entry->path())) {
            ProcessStatus const status = ReadStatus(entry->path());
            processes.running +=
                status.uid == static_cast<long>(getuid()) ? status.threads : 0;
        }
    }
    return processes.running > 0 ? std::optional(processes) : std::nullopt;
}

}  // namespace

std::optional<UserProcesses> CountUserProcesses() {
    std::ostringstream groups;
    groups << std::ifstream("/proc/self/cgroup").rdbuf();
    return TighterOf(CountOfUser(), TightestGroup(groups.str(), "/sys/fs/cgroup"));
}

int ProcessesOfAnItem() {
    return 2;
}

std::optional<long> ProcessLimitOf(pid_t pid) {
    rlimit limit = {};
    if (prlimit(pid, RLIMIT_NPROC, nullptr, &limit) != 0 ||
        limit.rlim_cur == RLIM_INFINITY) {
        return std::nullopt;
    }
    return static_cast<long>(limit.rlim_cur);
}
