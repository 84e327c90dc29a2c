#include "tests/predictions/observation.h"

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <optional>
#include <sstream>
#include <thread>

#include "harness/files.h"
#include "harness/log_line.h"
#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/system_call.h"

namespace {

// A state that was seen more often than this is taken to last.
constexpr int kLasting = 100;

// More reads than any list of the generator takes.
constexpr long kManyReads = 5'000;

constexpr std::chrono::milliseconds kPause(5);

// What has become of an item.
enum class Fate { kUnknown, kExecuted, kEnds, kChain };

// What is known of a thread that supervises an item.
struct Supervisor {
    Fate fate = Fate::kUnknown;
    // How often its child was seen asleep in another program than the launcher.
    int times_asleep = 0;
};

using Parents = std::map<pid_t, pid_t>;

Parents ParentsOfAll() {
    Parents parents;
    for (pid_t const process : AllProcesses()) {
        parents[process] = ParentOf(process);
    }
    return parents;
}

bool HasChild(Parents const& parents, pid_t process) {
    return std::any_of(parents.begin(), parents.end(),
                       [process](auto const& entry) { return entry.second == process; });
}

std::filesystem::path ProgramOf(pid_t pid) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
}

// Returns how often the process and the children that it has waited for have called read.
long CountReads(pid_t pid) {
    std::istringstream lines(ReadFile("/proc/" + std::to_string(pid) + "/io"));
    std::string key;
    long value = 0;
    while (lines >> key >> value) {
        if (key == "syscr:") {
            return value;
        }
    }
    return 0;
}

class Watch {
  public:
    Watch(Process& watched, ObservedPlaces const& where)
        : launcher(watched), places(where) {}

    // Looks until it is clear what the launcher does, and returns it in words.
    std::string UntilSettled() {
        std::string end = "unclear";
        WaitFor([&] {
            std::this_thread::sleep_for(kPause);
            if (launcher.HasEnded()) {
                end = launcher.WaitForEnd();
            } else if (Look()) {
                end = "runs";
            } else if (ReadsForEver()) {
                end = "reads for ever";
            } else if (WaitsForWriter()) {
                end = "waits for a writer";
            }
            return end != "unclear";
        });
        return end;
    }

    int Count(Fate fate) const {
        return static_cast<int>(std::count_if(
            supervisors.begin(), supervisors.end(),
            [fate](auto const& entry) { return entry.second.fate == fate; }));
    }

    int CountAll() const { return static_cast<int>(supervisors.size()); }

  private:
    // Looks once at all threads. Returns true if main waits for a stop and every
    // supervisor has shown what becomes of its item.
    bool Look() {
        bool const main_waited = MainWaits();
        Parents const parents = ParentsOfAll();
        // Threads that have ended in the meantime are forgotten.
        std::map<pid_t, Supervisor> present;
        for (pid_t const thread : ThreadsOf(launcher.Pid())) {
            if (thread != launcher.Pid()) {
                present[thread] = supervisors[thread];
                LookAt(thread, present[thread], parents);
            }
        }
        supervisors = present;
        // Main waited before the look, so all threads were there. It still waits, so no
        // thread was missing because the process is about to end.
        return main_waited && Count(Fate::kUnknown) == 0 && MainWaits();
    }

    // In a process that is about to end, main seems to wait but does not sleep.
    bool MainWaits() const {
        return WaitsForCondition(SystemCallOf(launcher.Pid(), launcher.Pid())) &&
               StateOf(launcher.Pid()) == 'S';
    }

    // Programs that have ended count too. So this asks for no supervisor.
    bool ReadsForEver() const {
        return supervisors.empty() && CountReads(launcher.Pid()) > kManyReads;
    }

    void LookAt(pid_t thread, Supervisor& supervisor, Parents const& parents) const {
        SystemCall const call = SystemCallOf(launcher.Pid(), thread);
        for (auto const& [process, parent] : parents) {
            if (parent == launcher.Pid() && WaitsForProcess(call, process)) {
                LookAtChild(process, supervisor, HasChild(parents, process));
            }
        }
        // The pause after the end of a child.
        if (WaitsForTime(call)) {
            supervisor.fate = Fate::kEnds;
        }
    }

    void LookAtChild(pid_t child, Supervisor& supervisor, bool has_child) const {
        std::filesystem::path const program = ProgramOf(child);
        if (program.empty()) {
            return;
        }
        if (program == places.launcher) {
            if (has_child) {
                supervisor.fate = Fate::kChain;
            }
            return;
        }
        // On a busy machine a program may need long until it has written its file.
        supervisor.times_asleep += StateOf(child) == 'S' ? 1 : 0;
        std::string const file = std::to_string(child) + ".start";
        if (std::filesystem::exists(places.starts / file) ||
            supervisor.times_asleep > kLasting) {
            supervisor.fate = Fate::kExecuted;
        }
    }

    // Returns true if main has been opening a file for long, and has no other thread.
    bool WaitsForWriter() {
        bool const opens = supervisors.empty() &&
                           IsOpening(SystemCallOf(launcher.Pid(), launcher.Pid()));
        times_opening = opens ? times_opening + 1 : 0;
        return times_opening > kLasting;
    }

    Process& launcher;
    ObservedPlaces const& places;
    std::map<pid_t, Supervisor> supervisors;
    int times_opening = 0;
};

// Returns what is between the two in `text`; std::nullopt if it does not begin and end
// so.
std::optional<std::string> Between(std::string const& begin, std::string const& end,
                                   std::string const& text) {
    std::size_t const around = begin.size() + end.size();
    if (text.size() < around || text.rfind(begin, 0) != 0 ||
        text.compare(text.size() - end.size(), end.size(), end) != 0) {
        return std::nullopt;
    }
    return text.substr(begin.size(), text.size() - around);
}

// Notes "NAME PID is killed. ret = RET, status = STATUS", if the message is this.
void NoteEnd(Observation& seen, std::string const& message) {
    std::size_t const end = message.rfind(" is killed. ret = ");
    std::size_t const status_begin = message.rfind(" status = ");
    if (end == std::string::npos || status_begin == std::string::npos) {
        return;
    }
    int const status = std::stoi(message.substr(status_begin + 10));
    if (WIFSIGNALED(status)) {
        std::string const name = message.substr(0, message.rfind(' ', end - 1));
        (WTERMSIG(status) == SIGABRT ? seen.aborted_names : seen.killed_names)
            .insert(name);
    }
}

void ReadLog(Observation& seen, pid_t launcher) {
    std::string const source = "[LAUNCHER  ] ";
    for (std::string const& line : Lines(seen.log)) {
        std::optional<LogLine> const parts = ParseLogLine(line);
        if (!parts || parts->message.rfind(source, 0) != 0) {
            continue;
        }
        bool const is_launcher = parts->process_id == launcher;
        std::string const message = parts->message.substr(source.size());
        if (auto const started = Between("Start to fork ", "", message)) {
            if (!is_launcher) {
                seen.chain_names.insert(*started);
            }
        } else if (message.rfind("Failed to fork ", 0) == 0) {
            seen.given_up += is_launcher ? 1 : 0;
        } else if (auto const empty = Between("program path of ", " is empty", message)) {
            seen.empty_names.insert(*empty);
        } else if (message == "There is an item has no name.") {
            ++seen.nameless;
        } else if (is_launcher) {
            NoteEnd(seen, message);
        }
    }
}

}  // namespace

Observation Observe(Process& launcher, ObservedPlaces const& places, bool is_steady,
                    std::function<void(Observation&)> const& ask) {
    Watch watch(launcher, places);
    Observation seen;
    seen.launcher = watch.UntilSettled();
    seen.log = ReadFile(places.log);
    ReadLog(seen, launcher.Pid());
    if (seen.launcher == "runs") {
        seen.supervisors = watch.CountAll();
        seen.chains = watch.Count(Fate::kChain);
        seen.staying = watch.Count(Fate::kExecuted);
        ask(seen);
        if (is_steady && seen.given_up == 0 && watch.Count(Fate::kEnds) == 0) {
            launcher.Signal(SIGTERM);
            seen.end_by_sigterm = launcher.WaitForEnd();
        }
    }
    for (ProgramStart const& start : StartsIn(places.starts)) {
        seen.started.insert(start.arguments);
    }
    return seen;
}
