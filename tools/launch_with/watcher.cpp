#include "tools/launch_with/watcher.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

#include "platform/held_name.h"
#include "platform/process_family.h"
#include "platform/process_handle.h"
#include "tools/common/signal_names.h"
#include "tools/launch_with/clock.h"
#include "tools/launch_with/program.h"
#include "tools/launch_with/stream.h"

namespace launch_with {

namespace {

// How often processes that are to end are looked at, in milliseconds.
constexpr int kLookEvery = 10;

// "exit 125", as waitpid gives it.
constexpr int kFailedStatus = kFailed << 8;

// The processes that descend from this one, and the program among them.
class Family {
  public:
    // `leader` leads the process group of the program; 0 if there is none.
    explicit Family(pid_t leader) : program(leader), group(leader) {}

    bool HasProgramEnded() const { return program == 0; }
    int Status() const { return status; }

    // Reaps all that have ended. Returns true if none is left.
    bool HasEnded() {
        int ended_with = 0;
        pid_t ended = 0;
        while ((ended = waitpid(-1, &ended_with, WNOHANG)) > 0) {
            if (ended == program) {
                program = 0;
                status = ended_with;
            }
        }
        bool const has_children = ended == 0;
        return !has_children && !SignalGroup(0);
    }

    void Signal(int signal) {
        SignalGroup(signal);
        SignalDescendants(signal, group);
    }

  private:
    // Returns true if there is somebody in the group. Once it is empty another process
    // may get its number, so it is not signalled again.
    bool SignalGroup(int signal) {
        if (group > 0 && kill(-group, signal) != 0 && errno == ESRCH) {
            group = 0;
        }
        return group > 0;
    }

    pid_t program;
    pid_t group;
    int status = SIGKILL;
};

// Writes "exit 3" or "killed by SIGSEGV".
void Describe(int status, char* text, std::size_t size) {
    if (WIFEXITED(status)) {
        std::snprintf(text, size, "exit %d", WEXITSTATUS(status));
        return;
    }
    char const* const name = tools::NameOfSignal(WTERMSIG(status));
    if (name != nullptr) {
        std::snprintf(text, size, "killed by %s", name);
    } else {
        std::snprintf(text, size, "killed by signal %d", WTERMSIG(status));
    }
}

class Watcher {
  public:
    Watcher(Options const& given, int partner_end, pid_t watched)
        : options(given),
          partner(partner_end),
          launcher_pid(watched),
          launcher(watched > 0 ? ProcessHandle(watched) : ProcessHandle()) {}

    // Returns how the program ended, as waitpid gives it.
    int Run(int argc, char** argv) {
        if (!Prepare()) {
            return Fail("cannot watch");
        }
        pid_t const self = getpid();
        started = Now();
        pid_t const program = fork();
        if (program == 0) {
            BecomeProgram(argc, argv, options, self, output.WriteEnd(),
                          Errors().WriteEnd());
        }
        if (program < 0) {
            return Fail("cannot fork");
        }
        // The child does the same. Whoever is first, the group is there from here on.
        setpgid(program, program);
        output.CloseWriteEnd();
        error.CloseWriteEnd();
        Tell({Report::Kind::Started, program, 0});
        return AwaitEnd(Family(program));
    }

    void Tell(Report const& report) const {
        [[maybe_unused]] ssize_t const written = write(partner, &report, sizeof report);
    }

  private:
    bool HasOwnErrors() const {
        return options.error != nullptr &&
               (options.output == nullptr ||
                std::strcmp(options.error, options.output) != 0);
    }

    // Returns the stream that the program's errors go to.
    Stream& Errors() { return HasOwnErrors() ? error : output; }

    bool Prepare() {
        if (options.output != nullptr && !output.Open(options.output, options.tail)) {
            return false;
        }
        if (HasOwnErrors() && !error.Open(options.error, options.tail)) {
            return false;
        }
        child_events = OpenChildEvents();
        return child_events >= 0 && (launcher_pid <= 0 || launcher.IsOpen());
    }

    // Notes why there is no program. Returns the status for that.
    int Fail(char const* what) {
        char line[160];
        int const size = std::snprintf(line, sizeof line, "launch-with: %s: %s\n", what,
                                       std::strerror(errno));
        Errors().Add(line, static_cast<std::size_t>(size));
        Errors().WriteTail("");
        return kFailedStatus;
    }

    int AwaitEnd(Family family) {
        bool is_stopped = false;
        while (!family.HasProgramEnded() && !is_stopped) {
            is_stopped = !Wait(-1);
            family.HasEnded();
        }
        long long const ran = Now() - started;
        EndFamily(family);
        while (output.Copy() || error.Copy()) {
        }
        if (!is_stopped && family.Status() != 0) {
            WriteTails(family.Status(), ran);
        }
        return family.Status();
    }

    // Ends what is left, by the stop signal, and after the grace by SIGKILL.
    void EndFamily(Family& family) {
        if (family.HasEnded()) {
            return;
        }
        family.Signal(options.stop_signal);
        family.Signal(SIGCONT);
        long long const deadline = Now() + options.grace;
        while (!family.HasEnded()) {
            if (Now() >= deadline) {
                family.Signal(SIGKILL);
            }
            Wait(kLookEvery);
        }
    }

    // Waits until something happens, at most `milliseconds`, for ever if that is -1, and
    // copies output. Returns false once the partner or the launcher has ended.
    bool Wait(int milliseconds) {
        pollfd waited[] = {{child_events, POLLIN, 0},
                           {output.ReadEnd(), POLLIN, 0},
                           {error.ReadEnd(), POLLIN, 0},
                           {partner, POLLIN, 0},
                           {launcher.Descriptor(), POLLIN, 0}};
        // What has ended stays so, and would make every later poll return at once.
        nfds_t const count = milliseconds < 0 ? 5 : 3;
        poll(waited, count, milliseconds);
        ClearChildEvents(child_events);
        output.Copy();
        error.Copy();
        return waited[3].revents == 0 && waited[4].revents == 0;
    }

    // Writes the last lines, and how the program ended.
    void WriteTails(int status, long long ran) {
        if (options.tail == 0) {
            return;
        }
        char end[32];
        Describe(status, end, sizeof end);
        char note[4200];
        std::snprintf(note, sizeof note, "launch-with: %.4000s: %s after %lld.%lld s\n",
                      options.command[0], end, ran / 1000, ran % 1000 / 100);
        if (HasOwnErrors()) {
            output.WriteTail("");
        }
        Errors().WriteTail(note);
    }

    Options const& options;
    int const partner;
    pid_t const launcher_pid;
    ProcessHandle const launcher;
    int child_events = -1;
    long long started = 0;
    Stream output;
    Stream error;
};

}  // namespace

void Watch(int argc, char** argv, Options const& options, int partner,
           pid_t launcher) noexcept {
    setsid();
    // A watcher that a stray signal ends would take the program with it.
    BlockAllSignals();
    std::signal(SIGCHLD, SIG_DFL);
    AdoptOrphans();
    // Not on the stack, which then fits into what every process has from its start: a
    // watcher that gets no more memory can still end the program.
    alignas(Watcher) static unsigned char room[sizeof(Watcher)];
    Watcher& watcher = *new (room) Watcher(options, partner, launcher);
    int const status = watcher.Run(argc, argv);
    ForgetName(options.name);
    watcher.Tell({Report::Kind::Ended, 0, status});
    _exit(0);
}

int KillDescendants(pid_t group) noexcept {
    Family family(group);
    while (!family.HasEnded()) {
        family.Signal(SIGKILL);
        poll(nullptr, 0, kLookEvery);
    }
    return family.Status();
}

}  // namespace launch_with
