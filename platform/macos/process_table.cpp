#include "platform/process_table.h"

#include <libproc.h>
#include <mach/mach_time.h>
#include <sys/proc_info.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// States of a process in proc_bsdinfo.
constexpr std::uint32_t kStopped = 4;
constexpr std::uint32_t kZombie = 5;

std::string ProgramOf(pid_t id) {
    char path[PROC_PIDPATHINFO_MAXSIZE] = {};
    return proc_pidpath(id, path, sizeof path) > 0 ? path : "";
}

// The system's text holds the number of arguments, the path of the program, NULs up to a
// multiple of eight bytes, the arguments and the environment.
std::vector<std::string> ArgumentsOf(pid_t id) {
    int name[] = {CTL_KERN, KERN_PROCARGS2, id};
    std::size_t size = 0;
    if (sysctl(name, 3, nullptr, &size, nullptr, 0) != 0) {
        return {};
    }
    std::string text(size, '\0');
    int count = 0;
    if (sysctl(name, 3, text.data(), &size, nullptr, 0) != 0 || size < sizeof count) {
        return {};
    }
    text.resize(size);
    std::memcpy(&count, text.data(), sizeof count);
    std::size_t at = text.find('\0', sizeof count);
    at = std::min(text.find_first_not_of('\0', at), size);
    std::vector<std::string> arguments;
    for (int i = 0; i < count && at < size; ++i) {
        arguments.emplace_back(text.c_str() + at);
        at += arguments.back().size() + 1;
    }
    return arguments;
}

long long ToMilliseconds(std::uint64_t ticks) {
    static mach_timebase_info_data_t const base = [] {
        mach_timebase_info_data_t info = {};
        mach_timebase_info(&info);
        return info;
    }();
    return static_cast<long long>(ticks / 1'000'000 * base.numer / base.denom);
}

}  // namespace

std::vector<ProcessInfo> ReadProcesses() {
    // More may start meanwhile.
    std::vector<pid_t> ids(static_cast<std::size_t>(proc_listallpids(nullptr, 0)) + 1000);
    int const count =
        proc_listallpids(ids.data(), static_cast<int>(ids.size() * sizeof(pid_t)));
    ids.resize(static_cast<std::size_t>(std::max(count, 0)));
    std::vector<ProcessInfo> processes;
    for (pid_t const id : ids) {
        if (std::optional<ProcessInfo> process =
                id > 0 ? ReadProcess(id) : std::nullopt) {
            processes.push_back(std::move(*process));
        }
    }
    return processes;
}

std::optional<ProcessInfo> ReadProcess(pid_t id) {
    proc_bsdinfo info = {};
    // With 1 as the argument it tells of zombies too.
    if (proc_pidinfo(id, PROC_PIDTBSDINFO, 1, &info, sizeof info) != sizeof info) {
        return std::nullopt;
    }
    ProcessInfo process;
    process.id = id;
    process.start = info.pbi_start_tvsec * 1'000'000 + info.pbi_start_tvusec;
    process.start_time = static_cast<long long>(process.start / 1000);
    process.parent = static_cast<pid_t>(info.pbi_ppid);
    process.group = static_cast<pid_t>(info.pbi_pgid);
    process.session = getsid(id);
    process.user = info.pbi_uid;
    process.is_zombie = info.pbi_status == kZombie;
    process.is_stopped = info.pbi_status == kStopped;
    process.has_executed = (info.pbi_flags & PROC_FLAG_EXEC) != 0;
    proc_taskinfo task = {};
    if (proc_pidinfo(id, PROC_PIDTASKINFO, 0, &task, sizeof task) == sizeof task) {
        process.threads = task.pti_threadnum;
        process.cpu_time = ToMilliseconds(task.pti_total_user + task.pti_total_system);
        process.memory = static_cast<long long>(task.pti_resident_size);
    }
    process.program = ProgramOf(id);
    process.arguments = ArgumentsOf(id);
    return process;
}

std::vector<ThreadInfo> ReadThreads(pid_t id) {
    proc_taskinfo task = {};
    if (proc_pidinfo(id, PROC_PIDTASKINFO, 0, &task, sizeof task) != sizeof task) {
        return {};
    }
    std::vector<ThreadInfo> threads;
    bool const do_all_wait = task.pti_numrunning == 0;
    for (int i = 0; i < task.pti_threadnum; ++i) {
        threads.push_back({id + i, do_all_wait, do_all_wait, do_all_wait, false});
    }
    return threads;
}

std::string DirectoryOf(pid_t id) {
    proc_vnodepathinfo paths = {};
    return proc_pidinfo(id, PROC_PIDVNODEPATHINFO, 0, &paths, sizeof paths) ==
                   sizeof paths
               ? paths.pvi_cdir.vip_path
               : "";
}
