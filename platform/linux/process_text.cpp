#include "platform/linux/process_text.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <sstream>

namespace {

// A flag in the ninth field of /proc/PID/stat: forked, and nothing executed since.
constexpr unsigned long kForkedOnly = 0x40;

long long Milliseconds(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

long long TicksToMilliseconds(unsigned long long ticks) {
    static auto const per_second = static_cast<unsigned long>(sysconf(_SC_CLK_TCK));
    return static_cast<long long>(ticks * 1000 / per_second);
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

}  // namespace

// The name of the program, the second field, may hold anything.
bool TakeStat(std::string const& stat, ProcessInfo& process) {
    std::size_t const name_end = stat.rfind(')');
    if (name_end == std::string::npos) {
        return false;
    }
    static auto const page_size = static_cast<unsigned long>(sysconf(_SC_PAGESIZE));
    std::istringstream fields(stat.substr(name_end + 1));
    char state = 0;
    unsigned long flags = 0;
    unsigned long long user_ticks = 0;
    unsigned long long system_ticks = 0;
    long long ignored = 0;
    unsigned long long pages = 0;
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
    process.memory = static_cast<long long>(pages * page_size);
    process.start_time = Milliseconds(CLOCK_REALTIME) - Milliseconds(CLOCK_BOOTTIME) +
                         TicksToMilliseconds(process.start);
    return !fields.fail();
}

std::vector<std::string> SplitArguments(std::string const& cmdline) {
    std::vector<std::string> arguments;
    std::istringstream text(cmdline);
    for (std::string argument; std::getline(text, argument, '\0');) {
        arguments.push_back(argument);
    }
    return arguments;
}

ThreadInfo ThreadOf(std::string const& status, std::string const& wchan) {
    ThreadInfo info;
    unsigned long long const blocked =
        std::strtoull(ValueIn(status, "SigBlk").c_str(), nullptr, 16);
    info.blocks_sigterm = (blocked >> (SIGTERM - 1) & 1U) != 0;
    // The kernel's function that the thread sleeps in, "0" if that is a secret.
    bool const is_unknown = wchan.empty() || wchan == "0";
    info.waits = ValueIn(status, "State").substr(0, 1) == "S";
    info.waits_for_child_or_time =
        info.waits && (is_unknown || wchan.rfind("do_wait", 0) == 0 ||
                       Contains(wchan, "nanosleep") || Contains(wchan, "nsleep"));
    info.waits_for_thread = info.waits && (is_unknown || Contains(wchan, "futex"));
    return info;
}
