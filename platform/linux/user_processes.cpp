#include "platform/user_processes.h"

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

// Returns how many processes the user of the process may have by its RLIMIT_NPROC;
// std::nullopt if that is "unlimited". Without CAP_SYS_RESOURCE, prlimit does not tell
// the limits of another user's process.
std::optional<long> ReadLimit(std::filesystem::path const& process) {
    std::string const name = "Max processes";
    std::ifstream file(process / "limits");
    for (std::string line; std::getline(file, line);) {
        long limit = 0;
        if (line.compare(0, name.size(), name) == 0) {
            return std::istringstream(line.substr(name.size())) >> limit
                       ? std::optional(limit)
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

// Returns true if the process is in the namespace of the system's own users. In all
// others the limit holds for root too.
bool IsInFirstUserNamespace(std::filesystem::path const& process) {
    std::ifstream file(process / "uid_map");
    long inside = -1;
    long outside = -1;
    long count = -1;
    file >> inside >> outside >> count;
    return inside == 0 && outside == 0 && count == 4'294'967'295;
}

// Returns true if the limit does not hold for a process with this status: its user is
// root, or it has the capability CAP_SYS_ADMIN or CAP_SYS_RESOURCE.
bool IsExempt(ProcessStatus const& status) {
    std::uint64_t const exempting = 1ULL << 21U | 1ULL << 24U;
    return status.uid == 0 || (status.capabilities & exempting) != 0;
}

bool IsProcess(std::filesystem::path const& entry) {
    return entry.filename().string().find_first_not_of("0123456789") == std::string::npos;
}

std::optional<UserProcesses> CountOfUser(std::filesystem::path const& process) {
    std::optional<long> const limit = ReadLimit(process);
    ProcessStatus const its_status = ReadStatus(process);
    if (!limit || (IsExempt(its_status) && IsInFirstUserNamespace(process))) {
        return std::nullopt;
    }
    UserProcesses processes = {*limit, 0};
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end;
         !error && entry != end; entry.increment(error)) {
        if (IsProcess(entry->path())) {
            ProcessStatus const status = ReadStatus(entry->path());
            processes.running += status.uid == its_status.uid ? status.threads : 0;
        }
    }
    return processes.running > 0 ? std::optional(processes) : std::nullopt;
}

}  // namespace

std::optional<UserProcesses> CountProcessesOf(pid_t pid) {
    std::filesystem::path const process = "/proc/" + std::to_string(pid);
    std::ostringstream groups;
    groups << std::ifstream(process / "cgroup").rdbuf();
    return TighterOf(CountOfUser(process), TightestGroup(groups.str(), "/sys/fs/cgroup"));
}

int ProcessesOfAnItem() {
    return 2;
}
