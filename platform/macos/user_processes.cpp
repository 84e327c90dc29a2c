#include "platform/user_processes.h"

#include <sys/resource.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

// Returns how many processes this user has, or 0 if the system does not tell. The first
// call asks for the size of their list, which is larger than needed; the second fills it.
long CountProcesses() {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_RUID, static_cast<int>(getuid())};
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

std::optional<UserProcesses> CountUserProcesses() {
    rlimit limit = {};
    if (getuid() == 0 || getrlimit(RLIMIT_NPROC, &limit) != 0) {
        return std::nullopt;
    }
    int most = 0;
    std::size_t size = sizeof most;
    if (sysctlbyname("kern.maxprocperuid", &most, &size, nullptr, 0) != 0) {
        return std::nullopt;
    }
    long const running = CountProcesses();
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

std::optional<long> ProcessLimitOf(pid_t /*pid*/) {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NPROC, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return std::nullopt;
    }
    return static_cast<long>(limit.rlim_cur);
}
