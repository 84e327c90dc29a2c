#include "platform/process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <sstream>

namespace {

// A flag in the ninth field of /proc/PID/stat: forked, and nothing executed since.
constexpr unsigned long kForkedOnly = 0x40;

std::string PathIn(pid_t id, char const* file) {
    return "/proc/" + std::to_string(id) + "/" + file;
}

// Returns the content of the file; an empty string if it cannot be read.
std::string ReadWhole(std::string const& path) {
    std::string text;
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    char chunk[4096];
    ssize_t length = 0;
    while (file >= 0 && ((length = read(file, chunk, sizeof chunk)) > 0 ||
                         (length < 0 && errno == EINTR))) {
        text.append(chunk, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    if (file >= 0) {
        close(file);
    }
    return text;
}

// Returns where the link leads; an empty string if that cannot be read.
std::string ReadLink(std::string const& path) {
    char target[PATH_MAX];
    ssize_t const length = readlink(path.c_str(), target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<std::size_t>(length));
}

long long Milliseconds(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

long long TicksToMilliseconds(unsigned long long ticks) {
    static long const per_second = sysconf(_SC_CLK_TCK);
    return static_cast<long long>(ticks) * 1000 / per_second;
}

// Reads the fields of /proc/PID/stat after the name, which may hold anything. Returns
// false if they are not there.
bool ReadFields(std::string const& stat, ProcessInfo& process) {
    std::size_t const name_end = stat.rfind(')');
    if (name_end == std::string::npos) {
        return false;
    }
    static long const page_size = sysconf(_SC_PAGESIZE);
    std::istringstream fields(stat.substr(name_end + 1));
    char state = 0;
    unsigned long flags = 0;
    unsigned long long user_ticks = 0;
    unsigned long long system_ticks = 0;
    long long ignored = 0;
    long long pages = 0;
    fields >> state >> process.parent >> process.group >> process.session;
    fields >> ignored >> ignored >> flags;                  // to the 9th
    fields >> ignored >> ignored >> ignored >> ignored;     // to the 13th
    fields >> user_ticks >> system_ticks;                   // to the 15th
    fields >> ignored >> ignored >> ignored >> ignored;     // to the 19th
    fields >> process.threads >> ignored >> process.start;  // to the 22nd
    fields >> ignored >> pages;                             // to the 24th
    process.is_zombie = state == 'Z' || state == 'X';
    process.is_stopped = state == 'T' || state == 't';
    process.has_executed = (flags & kForkedOnly) == 0;
    process.cpu_time = TicksToMilliseconds(user_ticks + system_ticks);
    process.memory = pages * page_size;
    process.start_time = Milliseconds(CLOCK_REALTIME) - Milliseconds(CLOCK_BOOTTIME) +
                         TicksToMilliseconds(process.start);
    return !fields.fail();
}

std::string ProgramOf(pid_t id) {
    std::string const removed = " (deleted)";
    std::string program = ReadLink(PathIn(id, "exe"));
    if (program.size() > removed.size() &&
        program.compare(program.size() - removed.size(), removed.size(), removed) == 0) {
        program.resize(program.size() - removed.size());
    }
    return program;
}

// Each argument ends with a NUL.
std::vector<std::string> ArgumentsOf(pid_t id) {
    std::vector<std::string> arguments;
    std::istringstream text(ReadWhole(PathIn(id, "cmdline")));
    for (std::string argument; std::getline(text, argument, '\0');) {
        arguments.push_back(argument);
    }
    return arguments;
}

// Returns the rest of the line of this name in /proc/PID/status; an empty string without
// such a line.
std::string ValueIn(std::string const& status, std::string const& name) {
    std::size_t const line = status.find("\n" + name + ":\t");
    if (line == std::string::npos) {
        return "";
    }
    std::size_t const value = line + name.size() + 3;
    return status.substr(value, status.find('\n', value) - value);
}

bool Contains(std::string const& text, char const* part) {
    return text.find(part) != std::string::npos;
}

ThreadInfo ReadThread(pid_t process, pid_t thread) {
    ThreadInfo info;
    info.id = thread;
    std::string const directory = "task/" + std::to_string(thread) + "/";
    std::string const status = ReadWhole(PathIn(process, (directory + "status").c_str()));
    unsigned long long const blocked =
        std::strtoull(ValueIn(status, "SigBlk").c_str(), nullptr, 16);
    info.blocks_sigterm = (blocked >> (SIGTERM - 1) & 1U) != 0;
    // The kernel's function that the thread sleeps in, "0" if that is a secret.
    std::string const function =
        ReadWhole(PathIn(process, (directory + "wchan").c_str()));
    bool const is_unknown = function.empty() || function == "0";
    info.waits = ValueIn(status, "State").substr(0, 1) == "S";
    info.waits_for_child_or_time =
        info.waits && (is_unknown || function.rfind("do_wait", 0) == 0 ||
                       Contains(function, "nanosleep") || Contains(function, "nsleep"));
    info.waits_for_thread = info.waits && (is_unknown || Contains(function, "futex"));
    return info;
}

}  // namespace

std::vector<ProcessInfo> ReadProcesses() {
    // The list of ids grows at its end. To read a process takes longer than to fork one,
    // so a look at each before the next id might never come to the end.
    std::vector<pid_t> ids;
    std::unique_ptr<DIR, int (*)(DIR*)> const directory(opendir("/proc"), closedir);
    while (directory) {
        dirent const* const entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        ids.push_back(std::atoi(entry->d_name));
    }
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
    ProcessInfo process;
    process.id = id;
    struct stat owner = {};
    if (stat(PathIn(id, "").c_str(), &owner) != 0 ||
        !ReadFields(ReadWhole(PathIn(id, "stat")), process)) {
        return std::nullopt;
    }
    process.user = owner.st_uid;
    // A zombie has neither.
    if (!process.is_zombie) {
        process.program = ProgramOf(id);
        process.arguments = ArgumentsOf(id);
    }
    return process;
}

std::vector<ThreadInfo> ReadThreads(pid_t id) {
    std::vector<ThreadInfo> threads;
    std::unique_ptr<DIR, int (*)(DIR*)> const directory(
        opendir(PathIn(id, "task").c_str()), closedir);
    while (directory) {
        dirent const* const entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        pid_t const thread = std::atoi(entry->d_name);
        if (thread > 0) {
            threads.push_back(ReadThread(id, thread));
        }
    }
    return threads;
}

std::string DirectoryOf(pid_t id) {
    return ReadLink(PathIn(id, "cwd"));
}
