#include "bench/supervisor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace {

constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kSecond = 1000 * kMillisecond;
constexpr std::int64_t kPause = 50 * kMillisecond;

void Sleep(std::int64_t nanoseconds) {
    timespec const time = {nanoseconds / kSecond, nanoseconds % kSecond};
    nanosleep(&time, nullptr);
}

// Asks `condition` every millisecond until it is true or ten minutes are over; returns
// its last answer.
template <typename Condition>
bool WaitUntil(Condition condition) {
    std::int64_t const deadline = Now() + 600 * kSecond;
    while (!condition()) {
        if (Now() > deadline) {
            return false;
        }
        Sleep(kMillisecond);
    }
    return true;
}

[[noreturn]] void Fail(char const* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void* MapShared(std::size_t size, int file) {
    int const flags = file < 0 ? MAP_SHARED | MAP_ANONYMOUS : MAP_SHARED;
    void* const map = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, file, 0);
    if (map == MAP_FAILED) {
        Fail("mmap");
    }
    return map;
}

double Microseconds(timeval const& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

// Reaps whatever the ended supervisor left to this process, and returns how many of them
// had to be killed for that.
std::size_t EndWhatIsLeft(pid_t group) {
    std::size_t left_over = 0;
    for (;;) {
        pid_t const reaped = waitpid(-1, nullptr, WNOHANG);
        if (reaped < 0) {
            return left_over;
        }
        if (reaped == 0) {
            kill(-group, SIGKILL);
            ++left_over;
            waitpid(-1, nullptr, 0);
        }
    }
}

}  // namespace

std::int64_t Now() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

Stamps::Stamps(std::size_t item_count) : count(item_count) {
    std::string const file = directory.Write(STAMPS_FILE, "");
    std::size_t const size = count * sizeof(StampSlot);
    int const descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0 || ftruncate(descriptor, static_cast<off_t>(size)) != 0) {
        Fail("the file of the stamps");
    }
    slots = static_cast<StampSlot*>(MapShared(size, descriptor));
    close(descriptor);
    for (std::size_t i = 0; i < count; ++i) {
        std::filesystem::create_symlink(STAMP, directory.Path() / std::to_string(i));
    }
}

Stamps::~Stamps() {
    munmap(slots, count * sizeof(StampSlot));
}

void Stamps::SetStays(bool stays) {
    for (std::size_t i = 0; i < count; ++i) {
        SetStays(i, stays);
    }
}

void Stamps::SetStays(std::size_t item, bool stays) {
    __atomic_store_n(&slots[item].stays, stays ? 1 : 0, __ATOMIC_RELEASE);
}

std::uint32_t Stamps::Starts(std::size_t item) const {
    return __atomic_load_n(&slots[item].starts, __ATOMIC_ACQUIRE);
}

std::uint32_t Stamps::Ends(std::size_t item) const {
    return __atomic_load_n(&slots[item].ends, __ATOMIC_ACQUIRE);
}

std::uint64_t Stamps::TotalStarts() const {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        total += Starts(i);
    }
    return total;
}

std::uint64_t Stamps::TotalEnds() const {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        total += Ends(i);
    }
    return total;
}

std::int64_t Stamps::FirstStart(std::size_t item) const {
    return slots[item].stamps[0].start;
}

std::int64_t Stamps::LastFirstStart() const {
    std::int64_t last = 0;
    for (std::size_t i = 0; i < count; ++i) {
        last = std::max(last, FirstStart(i));
    }
    return last;
}

bool Stamps::WaitUntilAllStarted(std::uint32_t times) const {
    std::size_t started = 0;
    return WaitUntil([&] {
        while (started < count && Starts(started) >= times) {
            ++started;
        }
        return started == count;
    });
}

bool Stamps::WaitForPause(std::size_t item) const {
    std::uint32_t const ends = Ends(item);
    bool const ended = WaitUntil([&] { return Ends(item) != ends; });
    Sleep(kPause / 2);
    return ended;
}

std::vector<Gap> Stamps::Gaps(std::size_t item, std::uint32_t first,
                              std::uint32_t last) const {
    std::vector<Gap> gaps;
    for (std::uint32_t i = first; i < last; ++i) {
        gaps.push_back({slots[item].stamps[i % kStampsKept].end,
                        slots[item].stamps[(i + 1) % kStampsKept].start});
    }
    return gaps;
}

Supervisor::Supervisor(std::vector<std::string> arguments)
    : exec_time(static_cast<std::int64_t*>(MapShared(sizeof(std::int64_t), -1))) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    // What a killed supervisor leaves behind becomes this process's to reap.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    pid = fork();
    if (pid < 0) {
        Fail("fork");
    }
    if (pid == 0) {
        setsid();
        close_range(STDERR_FILENO + 1, ~0U, 0);
        *exec_time = Now();
        execv(pointers[0], pointers.data());
        _exit(127);
    }
}

Supervisor::~Supervisor() {
    if (!ended) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        EndWhatIsLeft(pid);
    }
    munmap(exec_time, sizeof(std::int64_t));
}

std::int64_t Supervisor::ExecTime() const {
    return *exec_time;
}

double Supervisor::Cpu() const {
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        Fail("the CPU clock of the supervisor");
    }
    return static_cast<double>(time.tv_sec) * 1e6 +
           static_cast<double>(time.tv_nsec) / 1e3;
}

Memory Supervisor::ReadMemory() const {
    Memory memory;
    std::string const directory = "/proc/" + std::to_string(pid);
    for (std::string const& line : Lines(ReadFile(directory + "/maps"))) {
        // A page of the system's that no process has for itself.
        if (line.find("[vsyscall]") == std::string::npos) {
            ++memory.mappings;
        }
    }
    for (std::string const& line : Lines(ReadFile(directory + "/smaps_rollup"))) {
        std::istringstream words(line);
        std::string key;
        double kib = 0;
        words >> key >> kib;
        if (key == "Pss:") {
            memory.pss = kib;
        } else if (key == "Rss:") {
            memory.rss = kib;
        } else if (key == "Private_Clean:" || key == "Private_Dirty:") {
            memory.own += kib;
        }
    }
    return memory;
}

Faults Supervisor::ReadFaults() const {
    std::string const text = ReadFile("/proc/" + std::to_string(pid) + "/stat");
    std::istringstream words(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < 7; ++i) {  // from the state to the flags
        words >> skipped;
    }
    Faults faults;
    words >> faults.own >> faults.children;
    return faults;
}

std::uint64_t Supervisor::ContextSwitches() const {
    std::uint64_t total = 0;
    std::string const tasks = "/proc/" + std::to_string(pid) + "/task";
    for (auto const& task : std::filesystem::directory_iterator(tasks)) {
        for (std::string const& line : Lines(ReadFile(task.path() / "status"))) {
            if (line.find("voluntary_ctxt_switches:") != std::string::npos) {
                total += std::stoull(line.substr(line.find(':') + 1));
            }
        }
    }
    return total;
}

std::size_t Supervisor::Descriptors() const {
    namespace fs = std::filesystem;
    std::string const directory = "/proc/" + std::to_string(pid) + "/fd";
    std::ptrdiff_t fewest = 1 << 30;
    for (int i = 0; i < 20; ++i) {
        fs::directory_iterator const open_files(directory);
        fewest = std::min(fewest, std::distance(begin(open_files), end(open_files)));
        Sleep(kMillisecond);
    }
    return static_cast<std::size_t>(fewest);
}

bool Supervisor::WaitUntilIdle() const {
    double cpu = -1;
    return WaitUntil([&] {
        double const before = cpu;
        cpu = Cpu();
        Sleep(30 * kMillisecond);
        return cpu == before;
    });
}

Outcome Supervisor::Stop(std::size_t items) {
    std::int64_t const since = Now();
    kill(pid, SIGTERM);
    return WaitForEnd(since,
                      since + static_cast<std::int64_t>(items) * kPause + 30 * kSecond);
}

Outcome Supervisor::Kill() {
    std::int64_t const since = Now();
    kill(pid, SIGKILL);
    return WaitForEnd(since, since + 60 * kSecond);
}

Outcome Supervisor::WaitForEnd(std::int64_t since, std::int64_t deadline) {
    Outcome outcome;
    siginfo_t info = {};
    bool hangs = false;
    // Without reaping it, for its CPU clock goes with it.
    while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) ==
               0 &&
           info.si_pid == 0) {
        if (!hangs && Now() > deadline) {
            hangs = true;
            kill(pid, SIGKILL);
        }
        Sleep(kMillisecond / 10);
    }
    double const own = Cpu();
    int status = 0;
    rusage usage = {};
    wait4(pid, &status, 0, &usage);
    ended = true;
    outcome.left_over = EndWhatIsLeft(pid);
    outcome.seconds = static_cast<double>(Now() - since) / 1e9;
    outcome.children_cpu =
        Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime) - own;
    outcome.end = hangs                 ? "hang"
                  : WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                        : "exit " + std::to_string(WEXITSTATUS(status));
    return outcome;
}
