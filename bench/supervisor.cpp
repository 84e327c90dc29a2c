#include "bench/supervisor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "harness/proc.h"
#include "harness/wait_for.h"

namespace {

constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kSecond = 1000 * kMillisecond;
constexpr std::int64_t kPause = 50 * kMillisecond;

constexpr std::chrono::minutes kLongestWait(10);

void Sleep(std::int64_t nanoseconds) {
    timespec const time = {nanoseconds / kSecond, nanoseconds % kSecond};
    nanosleep(&time, nullptr);
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

// Kills and reaps the processes that the supervisor left to this process when it ended.
// Returns how many there were.
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

// Makes memory for the child's exec time, and has this process reap what a supervisor
// leaves behind.
std::int64_t* PrepareForSupervisor() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    return static_cast<std::int64_t*>(MapShared(sizeof(std::int64_t), -1));
}

}  // namespace

std::int64_t Now() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

Memory ReadMemoryOf(pid_t process) {
    auto const kib = [process](char const* key) {
        return static_cast<double>(ProcNumber(process, "smaps_rollup", key));
    };
    Memory memory;
    memory.pss = kib("Pss");
    memory.rss = kib("Rss");
    memory.own = kib("Private_Clean") + kib("Private_Dirty");
    memory.mappings = CountMappings(process);
    return memory;
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
    return WaitFor(
        [&] {
            while (started < count && Starts(started) >= times) {
                ++started;
            }
            return started == count;
        },
        kLongestWait);
}

bool Stamps::WaitForPause(std::size_t item) const {
    std::uint32_t const ends = Ends(item);
    bool const ended = WaitFor([&] { return Ends(item) != ends; }, kLongestWait);
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

Supervisor::Supervisor(std::vector<std::string> const& arguments)
    : exec_time(PrepareForSupervisor()),
      process(arguments, [this] { *exec_time = Now(); }) {}

Supervisor::~Supervisor() {
    if (!process.HasEnded()) {
        process.Signal(SIGKILL);
        process.WaitForEnd();
        EndWhatIsLeft(process.Pid());
    }
    munmap(exec_time, sizeof(std::int64_t));
}

std::int64_t Supervisor::ExecTime() const {
    return *exec_time;
}

double Supervisor::Cpu() const {
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(process.Pid(), &clock) != 0 ||
        clock_gettime(clock, &time) != 0) {
        Fail("the CPU clock of the supervisor");
    }
    return static_cast<double>(time.tv_sec) * 1e6 +
           static_cast<double>(time.tv_nsec) / 1e3;
}

Faults Supervisor::ReadFaults() const {
    return {std::stoull(StatField(process.Pid(), 10)),
            std::stoull(StatField(process.Pid(), 11))};
}

std::uint64_t Supervisor::ContextSwitches() const {
    long total = 0;
    for (pid_t const thread : ThreadsOf(process.Pid())) {
        total += ProcNumber(thread, "status", "voluntary_ctxt_switches") +
                 ProcNumber(thread, "status", "nonvoluntary_ctxt_switches");
    }
    return static_cast<std::uint64_t>(total);
}

std::size_t Supervisor::Descriptors() const {
    std::size_t fewest = CountDescriptors(process.Pid());
    for (int i = 1; i < 20; ++i) {
        Sleep(kMillisecond);
        fewest = std::min(fewest, CountDescriptors(process.Pid()));
    }
    return fewest;
}

bool Supervisor::WaitUntilIdle() const {
    double cpu = -1;
    return WaitFor(
        [&] {
            double const before = cpu;
            cpu = Cpu();
            Sleep(30 * kMillisecond);
            return cpu == before;
        },
        kLongestWait);
}

Outcome Supervisor::Stop(std::size_t items) {
    std::int64_t const since = Now();
    process.Signal(SIGTERM);
    return WaitForEnd(since,
                      since + static_cast<std::int64_t>(items) * kPause + 30 * kSecond);
}

Outcome Supervisor::Kill() {
    std::int64_t const since = Now();
    process.Signal(SIGKILL);
    return WaitForEnd(since, since + 60 * kSecond);
}

Outcome Supervisor::WaitForEnd(std::int64_t since, std::int64_t deadline) {
    Outcome outcome;
    siginfo_t info = {};
    bool hangs = false;
    // Its CPU clock is gone once it is reaped, so it is not reaped here.
    while (waitid(P_PID, static_cast<id_t>(process.Pid()), &info,
                  WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0) {
        if (!hangs && Now() > deadline) {
            hangs = true;
            process.Signal(SIGKILL);
        }
        Sleep(kMillisecond / 10);
    }
    double const own = Cpu();
    std::string const end = process.WaitForEnd();
    outcome.end = hangs ? "hang" : end;
    outcome.left_over = EndWhatIsLeft(process.Pid());
    outcome.seconds = static_cast<double>(Now() - since) / 1e9;
    rusage const& usage = process.Usage();
    outcome.children_cpu =
        Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime) - own;
    return outcome;
}
