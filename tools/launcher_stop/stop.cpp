#include "tools/launcher_stop/stop.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "platform/process_handle.h"
#include "platform/user_processes.h"
#include "tools/common/printable.h"
#include "tools/running/launcher_log.h"
#include "tools/running/watcher.h"

namespace launcher_stop {

namespace {

using running::Family;
using running::KeyOf;
using running::ProcessKey;
using running::Snapshot;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLookEvery(20);

// A launcher that stops ends a program and a thread every 50 ms. Without either for this
// long it makes no progress.
constexpr milliseconds kNoProgress(1000);

// After SIGSTOP a process is suspended, and after SIGCONT it runs on, after this long at
// the most.
constexpr milliseconds kLongestSuspending(1000);

// A link of a chain forks the next 50 ms after the last one has ended. So nothing is left
// only if every look in this time finds nothing.
constexpr milliseconds kQuiet(120);

// How much longer than its grace a watcher is waited for.
constexpr milliseconds kMoreThanGrace(3000);

// How long a process is waited for that SIGKILL has not ended.
constexpr milliseconds kLongestDeath(10'000);

// Longer than the launcher's pause between an end and the next start.
constexpr milliseconds kLongerThanPause(100);

// While so many more processes are possible, no fork fails for some seconds, even if a
// chain grows. If the limit is small, half of it has to do.
constexpr long kSpareProcesses = 100;

// How many processes are named, and not only counted.
constexpr std::size_t kMostNamed = 20;

// Sends the signal to the process, and to no other that has its id by now. Returns false,
// with errno, if it was not sent; ESRCH if the process has ended.
bool SignalProcess(ProcessInfo const& process, int signal) {
    ProcessHandle const handle(process.id);
    if (!handle.IsOpen()) {
        return false;
    }
    std::optional<ProcessInfo> const owner = ReadProcess(process.id);
    if (!owner || KeyOf(*owner) != KeyOf(process)) {
        errno = ESRCH;
        return false;
    }
    return handle.Signal(signal);
}

std::string Describe(ProcessInfo const& process) {
    std::string text = std::to_string(process.id) + ":";
    for (std::string const& argument : process.arguments) {
        text += " " + tools::Printable(argument);
    }
    return tools::CutToColumns(text, 100);
}

// The end of one launcher.
class LauncherStop {
  public:
    LauncherStop(running::LauncherWithItems const& stopped, Family& its_family)
        : found(stopped.launcher),
          launcher(found.process),
          items(stopped.list.items.size()),
          are_items_known(stopped.list.problem.empty() &&
                          !running::HasListChanged(found)),
          handle(launcher.id),
          family(its_family) {}

    // Ends the launcher. Returns how it ended, in words; an empty string if it cannot be
    // ended.
    std::string Stop() {
        if (HasEndedBefore()) {
            return "had ended";
        }
        if (!handle.IsOpen()) {
            return "";
        }
        SetSuspended(false);
        if (!AwaitForks()) {
            bool const is_stopping = IsStopping();
            if (!Kill()) {
                return "";
            }
            return is_stopping ? kHung
                               : "was ended by SIGKILL: it was not ready for SIGTERM, "
                                 "which then may end other processes too";
        }
        if (Send(SIGTERM) && AwaitEnd()) {
            return "ended after SIGTERM";
        }
        return Kill() ? kHung : "";
    }

  private:
    static constexpr char kHung[] = "hung, and was ended by SIGKILL";

    // Returns true if the launcher ended before it could be held.
    bool HasEndedBefore() const {
        std::optional<ProcessInfo> const owner = ReadProcess(launcher.id);
        return !owner || KeyOf(*owner) != KeyOf(launcher) || owner->is_zombie;
    }

    // Returns false if the signal was not permitted.
    bool Send(int signal) const { return handle.Signal(signal) || errno == ESRCH; }

    // Suspends the launcher, or lets it run on.
    void SetSuspended(bool is_wanted) const {
        auto const deadline = steady_clock::now() + kLongestSuspending;
        std::optional<ProcessInfo> process = ReadProcess(launcher.id);
        while (process && process->is_stopped != is_wanted && !handle.HasEnded() &&
               steady_clock::now() < deadline) {
            handle.Signal(is_wanted ? SIGSTOP : SIGCONT);
            std::this_thread::sleep_for(kLookEvery);
            process = ReadProcess(launcher.id);
        }
    }

    bool HasEndedIn(milliseconds time) const {
        pollfd waited = {handle.Descriptor(), POLLIN, 0};
        return poll(&waited, 1, static_cast<int>(time.count())) > 0 || handle.HasEnded();
    }

    // Returns true if the handler of SIGTERM is at work.
    bool IsStopping() const {
        std::vector<ThreadInfo> const threads = ReadThreads(launcher.id);
        return std::any_of(threads.begin(), threads.end(), [](ThreadInfo const& thread) {
            return thread.blocks_sigterm;
        });
    }

    // Waits until SIGTERM can harm nobody else. Before the launcher has forked for each
    // item, it may end all processes of its group; after a failed fork, all of the user.
    // Returns false if that does not become certain.
    //
    // Two looks have to agree. In between, a thread whose fork has failed ends, and so
    // does the thread of an item whose name a later item has.
    bool AwaitForks() {
        return AwaitRest() && (HasEndedIn(kLongerThanPause) || AwaitRest()) &&
               !HasFailedFork();
    }

    // Returns true if the launcher has logged a failed fork. It only looks if the items
    // are not known: without them the thread of such an item is not missed. A fork that
    // failed before the looks is in the log after them.
    bool HasFailedFork() const {
        return !are_items_known && running::LauncherLog(found).HasFailedFork();
    }

    // Waits until each item has a thread that has rested, that is, has waited for its
    // program or paused: it has forked, and has noted the child's id. Returns false if
    // that makes no progress, or if forks may soon fail.
    bool AwaitRest() {
        auto const begin = steady_clock::now();
        auto last_progress = begin;
        std::set<pid_t> rested;
        std::pair<std::size_t, std::size_t> last_counts;
        do {
            Snapshot const snapshot = Snapshot::Take();
            family.Follow(snapshot);
            if (snapshot.Find(KeyOf(launcher)) == nullptr) {
                return true;
            }
            if (IsShortOfProcesses()) {
                return false;
            }
            std::vector<ThreadInfo> const threads = ReadThreads(launcher.id);
            if (HaveRested(threads, rested)) {
                return true;
            }
            auto const counts = std::make_pair(threads.size(), rested.size());
            bool const forks =
                AnyForks(threads) && steady_clock::now() - begin < kLongestDeath;
            if (counts != last_counts || forks) {
                last_counts = counts;
                last_progress = steady_clock::now();
            }
        } while (!HasEndedIn(kLookEvery) &&
                 steady_clock::now() - last_progress < kNoProgress);
        return handle.HasEnded();
    }

    // Returns true if a supervising thread runs, or could run.
    bool AnyForks(std::vector<ThreadInfo> const& threads) const {
        return std::any_of(threads.begin(), threads.end(),
                           [this](ThreadInfo const& thread) {
                               return thread.id != launcher.id && !thread.waits;
                           });
    }

    // Adds the threads that rest now to `rested`. Returns true if main waits, nobody has
    // begun a stop, and each item has a thread, which has rested.
    bool HaveRested(std::vector<ThreadInfo> const& threads,
                    std::set<pid_t>& rested) const {
        bool is_certain = threads.size() > (are_items_known ? items : 0);
        for (ThreadInfo const& thread : threads) {
            if (thread.waits_for_child_or_time) {
                rested.insert(thread.id);
            }
            bool const is_fine = thread.id == launcher.id ? thread.waits_for_thread
                                                          : rested.count(thread.id) != 0;
            is_certain = is_certain && is_fine && !thread.blocks_sigterm;
        }
        return is_certain;
    }

    bool IsShortOfProcesses() const {
        std::optional<UserProcesses> const processes = CountProcessesOf(launcher.id);
        return processes &&
               processes->running + std::min(kSpareProcesses, processes->limit / 2) >
                   processes->limit;
    }

    // What a launcher that is not suspended forks after the last look could not be told
    // from a program of another launcher.
    bool Kill() {
        SetSuspended(true);
        family.Follow(Snapshot::Take());
        return Send(SIGKILL) && AwaitDeath();
    }

    // Waits for the end as long as there is progress: fewer threads, or fewer children.
    bool AwaitEnd() {
        auto last_progress = steady_clock::now();
        std::size_t least = SIZE_MAX;
        while (!HasEndedIn(kLookEvery)) {
            Snapshot const snapshot = Snapshot::Take();
            family.Follow(snapshot);
            ProcessInfo const* const process = snapshot.Find(KeyOf(launcher));
            if (process == nullptr) {
                continue;
            }
            std::size_t const left = static_cast<std::size_t>(process->threads) +
                                     snapshot.ChildrenOf(process->id).size();
            if (left < least) {
                least = left;
                last_progress = steady_clock::now();
            }
            if (steady_clock::now() - last_progress > kNoProgress) {
                return false;
            }
        }
        return true;
    }

    bool AwaitDeath() const {
        auto const deadline = steady_clock::now() + kLongestDeath;
        while (!HasEndedIn(kLookEvery)) {
            if (steady_clock::now() > deadline) {
                return false;
            }
        }
        return true;
    }

    running::Launcher const& found;
    ProcessInfo const launcher;
    // How many items the list has now, and whether the launcher has the same ones.
    std::size_t const items;
    bool const are_items_known;
    ProcessHandle const handle;
    Family& family;
};

// The end of what launchers have left.
class FamilyEnd {
  public:
    FamilyEnd(Family& ended_family, Say const& speaker)
        : family(ended_family), say(speaker), last_change(steady_clock::now()) {}

    // Returns true if nothing is left.
    bool End() {
        std::optional<steady_clock::time_point> quiet_since;
        auto look = steady_clock::now();
        while (!quiet_since || look - *quiet_since < kQuiet) {
            look = steady_clock::now();
            Snapshot const snapshot = Snapshot::Take();
            family.Follow(snapshot);
            Processes const members = family.MembersIn(snapshot);
            if (members.empty()) {
                quiet_since = quiet_since.value_or(look);
            } else if (!EndMembers(members, snapshot)) {
                SayWhatWasKilled();
                return false;
            } else {
                quiet_since.reset();
            }
            std::this_thread::sleep_for(kLookEvery);
        }
        SayWhatWasKilled();
        SayWhoWasWaitedFor();
        return true;
    }

  private:
    using Processes = std::vector<ProcessInfo const*>;

    // Kills the members that no watcher ends, parents before their children. Returns
    // false, after a line for each, if they do not end by that.
    bool EndMembers(Processes const& members, Snapshot const& snapshot) {
        StopChains(members);
        std::set<ProcessKey> const watched = FindWatched(members, snapshot);
        Processes stubborn;
        for (ProcessInfo const* const process : members) {
            bool const is_watched = watched.count(KeyOf(*process)) != 0;
            if (is_watched || Kill(*process)) {
                last_change = steady_clock::now();
            } else {
                stubborn.push_back(process);
            }
        }
        bool const are_all = stubborn.size() == members.size();
        bool const are_forbidden =
            are_all && std::all_of(stubborn.begin(), stubborn.end(),
                                   [this](ProcessInfo const* process) {
                                       return forbidden.count(KeyOf(*process)) != 0;
                                   });
        if (!are_forbidden && steady_clock::now() - last_change < kLongestDeath) {
            return true;
        }
        for (ProcessInfo const* const process : stubborn) {
            say("still there: " + Describe(*process) +
                (forbidden.count(KeyOf(*process)) != 0 ? " (not permitted)" : ""));
        }
        return false;
    }

    // Suspends the links of chains, the last ones first. Otherwise a chain would grow
    // while its many links are killed, and for ever if that takes longer than a pause.
    void StopChains(Processes const& members) const {
        for (auto it = members.rbegin(); it != members.rend(); ++it) {
            if (running::IsFork(**it) && killed.count(KeyOf(**it)) == 0) {
                SignalProcess(**it, SIGSTOP);
            }
        }
    }

    // Returns the watchers that still have time, with all that they watch.
    std::set<ProcessKey> FindWatched(Processes const& members, Snapshot const& snapshot) {
        std::set<ProcessKey> watched;
        for (ProcessInfo const* const process : members) {
            if (!running::IsWatcher(*process) || !HasTime(*process)) {
                continue;
            }
            watched.insert(KeyOf(*process));
            for (ProcessInfo const* const below : snapshot.DescendantsOf(process->id)) {
                watched.insert(KeyOf(*below));
            }
        }
        return watched;
    }

    bool HasTime(ProcessInfo const& watcher) {
        auto const now = steady_clock::now();
        auto const time = running::GraceOf(watcher) + kMoreThanGrace;
        return now < deadlines.try_emplace(KeyOf(watcher), now + time).first->second;
    }

    // Sends SIGKILL if that has not been done yet. Returns false if it changes nothing.
    bool Kill(ProcessInfo const& process) {
        if (killed.count(KeyOf(process)) != 0 || forbidden.count(KeyOf(process)) != 0) {
            return false;
        }
        if (!SignalProcess(process, SIGKILL)) {
            if (errno == EPERM) {
                forbidden.insert(KeyOf(process));
            }
            return errno == ESRCH;
        }
        killed.insert(KeyOf(process));
        if (running::IsFork(process)) {
            ++forks;
        } else {
            programs.push_back(Describe(process));
        }
        return true;
    }

    void SayWhatWasKilled() const {
        if (forks > 0) {
            say("killed " + std::to_string(forks) + (forks == 1 ? " fork" : " forks") +
                " of the launcher that executed no program");
        }
        for (std::size_t i = 0; i < std::min(programs.size(), kMostNamed); ++i) {
            say("killed " + programs[i]);
        }
        if (programs.size() > kMostNamed) {
            say("killed " + std::to_string(programs.size() - kMostNamed) + " more");
        }
    }

    void SayWhoWasWaitedFor() const {
        for (auto const& [watcher, deadline] : deadlines) {
            if (killed.count(watcher) == 0) {
                say("launch-with " + std::to_string(watcher.first) +
                    " stopped its program");
            }
        }
    }

    Family& family;
    Say const& say;
    steady_clock::time_point last_change;
    // When each watcher should have ended.
    std::map<ProcessKey, steady_clock::time_point> deadlines;
    std::set<ProcessKey> killed;
    // Those that this user may not signal.
    std::set<ProcessKey> forbidden;
    std::size_t forks = 0;
    std::vector<std::string> programs;
};

}  // namespace

bool StopLauncher(running::LauncherWithItems const& launcher,
                  std::vector<running::LauncherWithItems> const& others, Say const& say) {
    Family family(launcher, others);
    std::string const end = LauncherStop(launcher, family).Stop();
    std::string const title = "launcher " + std::to_string(launcher.launcher.process.id) +
                              " (" + tools::Printable(launcher.launcher.name) + ") ";
    if (end.empty()) {
        say(title + "could not be ended");
        return false;
    }
    say(title + end);
    return EndFamily(family, say);
}

bool EndFamily(Family& family, Say const& say) {
    return FamilyEnd(family, say).End();
}

}  // namespace launcher_stop
