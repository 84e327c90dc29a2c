#include "platform/user_processes.h"

#include <libproc.h>
#include <sys/proc_info.h>
#include <sys/resource.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

// Returns how many processes the user has, or 0 if the system does not tell. The first
// call asks for the size of their list, which is larger than needed; the second fills it.
long CountProcesses(uid_t user) {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_RUID, static_cast<int>(user)};
    std::size_t size = 0;
    if (sysctl(name, 4, nullptr, &size, nullptr, 0) != 0) {
        return 0;
    }
    std::vector<kinfo_proc> list(size / sizeof(kinfo_proc) + 1);
    size = list.size() * sizeof(kinfo_proc);
    if (sysctl(name, 4, list.data(), &size, nullptr, 0) != 0) {
        return 0;
    }
    return static_cast<long>(size / sizeof(kinfo_proc));
}

}  // namespace

std::optional<UserProcesses> CountProcessesOf(pid_t pid) {
    proc_bsdinfo process = {};
    rlimit limit = {};
    if (proc_pidinfo(pid, PROC_PIDTBSDINFO, 0, &process, sizeof process) !=
            static_cast<int>(sizeof process) ||
        process.pbi_ruid == 0 || getrlimit(RLIMIT_NPROC, &limit) != 0) {
        return std::nullopt;
    }
    int most = 0;
    std::size_t size = sizeof most;
    if (sysctlbyname("kern.maxprocperuid", &most, &size, nullptr, 0) != 0) {
        return std::nullopt;
    }
    long const running = CountProcesses(process.pbi_ruid);
    if (running == 0) {
        return std::nullopt;
    }
    return UserProcesses{
        static_cast<long>(std::min<rlim_t>(limit.rlim_cur, static_cast<rlim_t>(most))),
        running};
}

int ProcessesOfAnItem() {
    return 1;
}
