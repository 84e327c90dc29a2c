// SIGTERM at every moment of the start.
//
// The handler stops programs, frees memory and joins threads in signal context. It runs
// on whichever thread the system gives the signal to, whatever main is doing. The outcome
// depends on the moment. This test tells the possible outcomes apart by the trace of the
// launcher's calls, and counts them.

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/launcher/call_trace.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/sanitizers.h"
#include "tests/support/system_call.h"

namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

// The system ends the launcher that has not installed its handler.
constexpr char kEndsByDefault[] = "ended by SIGTERM before it had its handler";

// Every program was stopped, and main was woken.
constexpr char kEndsWithOne[] = "ended with 1";

// The handler ran before main waited. It stopped the programs that it found, and its
// notification was lost.
constexpr char kNeedsSecond[] = "ended with 1 after a second SIGTERM";

// A supervisor had not forked yet: its process id was 0.
constexpr char kKillsGroup[] = "killed its own process group";

// While main starts a thread, signals are blocked for it. And at any time, a supervising
// thread that returns from fork may take the signal first. The handler then runs on that
// thread. It cannot wait for the thread's end, so the launcher aborts; ...
constexpr char kAborts[] = "aborted in the handler on a supervising thread";
constexpr char kAbortsInFork[] =
    "aborted in the handler on a supervising thread inside fork";

// ... inside fork, that thread holds locks that the others need to end, so it hangs; ...
constexpr char kHangsInFork[] = "hung in the handler on a supervising thread inside fork";

// ... a thread in the middle of malloc, main too, may hold such a lock; ...
constexpr char kHangsInMalloc[] = "hung in the handler on a thread that allocates memory";

// ... and main may add to the table while that thread clears it: the table has no lock.
// Or the handler interrupts main itself while it adds.
constexpr char kLosesItems[] = "ended with 1 and left what main was adding";
constexpr char kCrashes[] = "crashed when the table was changed twice at a time";

// Returns how often a thread was put to sleep and woken, and how often it was
// interrupted.
std::string CountOfSwitches(pid_t thread) {
    return ProcValue(thread, "status", "voluntary_ctxt_switches") + " " +
           ProcValue(thread, "status", "nonvoluntary_ctxt_switches");
}

// A launcher in a session of its own. With it in its process group is a process that only
// ends if the whole group is killed.
class TracedRun {
  public:
    TracedRun(std::vector<std::string> const& arguments,
              std::filesystem::path const& file)
        : trace(file),
          launcher(arguments, [&file] { Prepare(file); }),
          begin(steady_clock::now()) {}

    // Ends all that is left of the session.
    ~TracedRun() {
        kill(-launcher.Pid(), SIGKILL);
        launcher.WaitForEnd();
        EXPECT_TRUE(WaitFor([this] { return CountProcesses() == 0; }));
    }
    TracedRun(TracedRun const&) = delete;
    TracedRun& operator=(TracedRun const&) = delete;

    pid_t Pid() const { return launcher.Pid(); }

    // Sends SIGTERM this long after the start, and another one if main needs it. Returns
    // the outcome; an empty string if no outcome above fits.
    std::string Stop(microseconds delay) {
        std::this_thread::sleep_until(begin + delay);
        SendSigterm();
        WaitFor([this] {
            if (launcher.HasEnded()) {
                return true;
            }
            if (sigterms == 1 && MainWaitsInVain()) {
                SendSigterm();
            }
            return IsStuck();
        });
        if (launcher.HasEnded()) {
            return OutcomeOfEnd();
        }
        if (looks_at_standstill != kLooks) {
            return "";
        }
        TracedCall const handler = OpenHandler(trace.Calls());
        return handler.inside_fork                       ? kHangsInFork
               : handler.inside_malloc || !TRACES_MALLOC ? kHangsInMalloc
                                                         : "";
    }

    // Returns what is known about the launcher.
    std::string Evidence() {
        std::ostringstream text;
        text << (launcher.HasEnded() ? launcher.WaitForEnd() : "still running")
             << " after " << sigterms << " SIGTERM";
        for (TracedCall const& call : trace.Calls()) {
            text << "\n  " << Describe(call);
        }
        for (pid_t const process : SessionMembers(Pid())) {
            text << "\n  left: " << process << " " << StateOf(process);
            for (pid_t const thread : ThreadsOf(process)) {
                SystemCall const call = SystemCallOf(process, thread);
                text << "\n    thread " << thread << " is in " << call.number;
                for (unsigned long const argument : call.arguments) {
                    text << " " << std::hex << argument << std::dec;
                }
            }
        }
        return text.str();
    }

  private:
    static constexpr int kLooks = 100;

    static void Prepare(std::filesystem::path const& file) {
        rlimit const no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        setenv(CallTrace::kVariable, file.c_str(), 1);
        // Leaks and spoilt memory in the table are outcomes here, not findings.
        char const* const options = std::getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS",
               (std::string(options != nullptr ? options : "") +
                ":detect_leaks=0:log_path=" + file.string() + ".report")
                   .c_str(),
               1);
        if (fork() == 0) {
            for (;;) {
                pause();
            }
        }
    }

    void SendSigterm() {
        launcher.Signal(SIGTERM);
        ++sigterms;
    }

    std::size_t CountProcesses() const { return SessionMembers(Pid()).size(); }

    static int Count(std::vector<TracedCall> const& calls, CallKind kind) {
        return static_cast<int>(
            std::count_if(calls.begin(), calls.end(),
                          [kind](TracedCall const& call) { return call.kind == kind; }));
    }

    // Returns the call by which a thread entered the handler that it has not left; a call
    // of the kind kNone if no thread is in it.
    static TracedCall OpenHandler(std::vector<TracedCall> const& calls) {
        TracedCall open = {};
        for (TracedCall const& call : calls) {
            if (call.kind == CallKind::kHandlerBegins) {
                open = call;
            } else if (call.kind == CallKind::kHandlerEnds &&
                       call.thread == open.thread) {
                open = {};
            }
        }
        return open;
    }

    // Returns whether main waits although the notification is over.
    bool MainWaitsInVain() const {
        return Count(trace.Calls(), CallKind::kHandlerEnds) == 1 &&
               WaitsForCondition(SystemCallOf(Pid(), Pid()));
    }

    // Returns whether the launcher hangs: a handler waits for a lock, or for the end of a
    // thread that does, and nothing has changed in many calls of this function.
    bool IsStuck() {
        std::string standstill;
        TracedCall const handler = OpenHandler(trace.Calls());
        if (handler.kind == CallKind::kHandlerBegins) {
            pid_t waiting = handler.thread;
            SystemCall call = SystemCallOf(Pid(), waiting);
            if (WaitsForThread(call)) {
                // The third argument is the thread's id, for whose change it waits.
                waiting = static_cast<pid_t>(call.arguments[2]);
                call = SystemCallOf(Pid(), waiting);
            }
            if (WaitsForLock(call)) {
                standstill = std::to_string(waiting) + " " + CountOfSwitches(waiting);
            }
        }
        looks_at_standstill = !standstill.empty() && standstill == last_standstill
                                  ? looks_at_standstill + 1
                                  : 0;
        last_standstill = standstill;
        return looks_at_standstill == kLooks;
    }

    // Returns whether main started a thread after another thread had entered the handler.
    bool MainAddsToWhatIsCleared(std::vector<TracedCall> const& calls) const {
        auto const begins =
            std::find_if(calls.begin(), calls.end(), [this](TracedCall const& call) {
                return call.kind == CallKind::kHandlerBegins && call.thread != Pid();
            });
        return std::any_of(begins, calls.end(), [this](TracedCall const& call) {
            return call.kind == CallKind::kHasStartedThread && call.thread == Pid();
        });
    }

    // Returns whether the handler interrupted main after it had started an item's thread,
    // but before it had put the item into the table: it then joins one thread less than
    // there are.
    bool MainIsInterruptedWhileItAdds(std::vector<TracedCall> const& calls) const {
        int threads = 0;
        for (TracedCall const& call : calls) {
            threads += call.kind == CallKind::kHasStartedThread ? 1 : 0;
            threads -= call.kind == CallKind::kHasJoined ? 1 : 0;
            if (call.kind == CallKind::kHandlerEnds && call.thread == Pid() &&
                threads > 0) {
                return true;
            }
        }
        return false;
    }

    static bool DidInHandler(std::vector<TracedCall> const& calls, CallKind kind,
                             long value) {
        TracedCall const handler = OpenHandler(calls);
        return std::any_of(calls.begin(), calls.end(), [&](TracedCall const& call) {
            return call.thread == handler.thread && call.kind == kind &&
                   call.value == value;
        });
    }

    std::string OutcomeOfExit(std::vector<TracedCall> const& calls) const {
        TracedCall const handler = OpenHandler(calls);
        // Main may wake up and end the process before another thread has left the
        // handler.
        if (Count(calls, CallKind::kHandlerBegins) != sigterms ||
            handler.thread == Pid()) {
            return "";
        }
        // What was stopped was also waited for.
        if (CountProcesses() > 1) {
            bool const loses =
                MainAddsToWhatIsCleared(calls) || MainIsInterruptedWhileItAdds(calls);
            return loses ? kLosesItems : "";
        }
        return sigterms == 1 ? kEndsWithOne : kNeedsSecond;
    }

    std::string OutcomeOfEnd() {
        std::string const end = launcher.WaitForEnd();
        std::vector<TracedCall> const calls = trace.Calls();
        TracedCall const handler = OpenHandler(calls);
        if (end == "exit 1") {
            return OutcomeOfExit(calls);
        }
        if (end == "signal 15" && sigterms == 1 &&
            Count(calls, CallKind::kHasInstalledHandler) == 0) {
            return kEndsByDefault;
        }
        if (end == "signal 9" && DidInHandler(calls, CallKind::kKills, 0) &&
            WaitFor([this] { return CountProcesses() == 0; })) {
            return kKillsGroup;
        }
        if (end == "signal 6" && handler.thread != Pid() &&
            DidInHandler(calls, CallKind::kJoins, kItself) &&
            DidInHandler(calls, CallKind::kAborts, 0)) {
            return handler.inside_fork ? kAbortsInFork : kAborts;
        }
        // AddressSanitizer ends it before the memory it has spoilt does.
        if ((end == "signal 11" || end == "signal 6" ||
             (UNDER_ASAN && end == "exit 99")) &&
            (MainAddsToWhatIsCleared(calls) || MainIsInterruptedWhileItAdds(calls))) {
            return kCrashes;
        }
        return "";
    }

    CallTrace const trace;
    Process launcher;
    steady_clock::time_point const begin;
    int sigterms = 0;
    std::string last_standstill;
    int looks_at_standstill = 0;
};

class SigtermSweep : public LauncherTest {
  protected:
    SigtermSweep() { PutIntoTheBundle(TRACED_LAUNCHER); }

    // Stops 200 launchers with this list, from 0 to 100 ms after their starts, and prints
    // how often there was each outcome.
    void Sweep(std::string const& list) {
        WriteFile(list_file, list);
        std::vector<std::thread> lanes;
        for (int i = 0; i < 4; ++i) {
            lanes.emplace_back([this] { StopOneAfterTheOther(); });
        }
        for (std::thread& lane : lanes) {
            lane.join();
        }
        for (auto const& [outcome, delays] : outcomes) {
            auto const [first, last] = std::minmax_element(delays.begin(), delays.end());
            std::cout << delays.size() << " " << outcome << " (" << first->count()
                      << " to " << last->count() << " us)\n";
            std::string key = outcome;
            std::replace(key.begin(), key.end(), ' ', '_');
            RecordProperty(key, static_cast<int>(delays.size()));
        }
    }

  private:
    void StopOneAfterTheOther() {
        for (int number = next++; number < 200; number = next++) {
            TracedRun run({launcher_program, "test", list_file},
                          directory.Path() / std::to_string(number));
            microseconds const delay(number * 500);
            std::string const outcome = run.Stop(delay);
            std::lock_guard<std::mutex> const lock(mutex);
            EXPECT_NE(outcome, "") << run.Evidence() << LinesOf(run.Pid());
            outcomes[outcome].push_back(delay);
        }
    }

    std::string LinesOf(pid_t pid) const {
        std::string lines;
        for (std::string const& line : Log()) {
            if (line.find(" " + std::to_string(pid) + " [") != std::string::npos) {
                lines += "\n  logged: " + line;
            }
        }
        return lines;
    }

    std::atomic<int> next{0};
    std::mutex mutex;
    std::map<std::string, std::vector<microseconds>> outcomes;
};

TEST_F(SigtermSweep, OfProgramsThatEndAtOnce) {
    Sweep(ListText({Item("a", {"--exit=0"}), Item("b", {"--exit=1"}),
                    Item("c", {"--exit=2"}), Item("d", {"--exit=3"})}));
}

TEST_F(SigtermSweep, OfSteadyPrograms) {
    Sweep(ListText({Item("a"), Item("b"), Item("c"), Item("d")}));
}

}  // namespace
