// launch-with starts a program and stays beside it. It does what the launcher does not:
// pace, grace, streams. There are three processes:
//
//   launch-with   the child of the launcher. Any signal may end it. It only waits,
//                 and ends as the program ended.
//   the watcher   its child, in a session of its own. It starts the program, and ends it
//                 when launch-with or the launcher has ended.
//   the program   a child of the watcher, in a process group of its own.
//
// If the watcher dies, launch-with ends the program.

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "platform/held_name.h"
#include "platform/process_family.h"
#include "platform/process_handle.h"
#include "tools/launch_with/clock.h"
#include "tools/launch_with/help.h"
#include "tools/launch_with/options.h"
#include "tools/launch_with/program.h"
#include "tools/launch_with/stream.h"
#include "tools/launch_with/watcher.h"

namespace launch_with {

namespace {

// How often a taken name is tried again, in milliseconds.
constexpr int kAskEvery = 50;

// Writes a line of launch-with's own to where the program's errors go.
void Note(Options const& options, char const* text, char const* reason) {
    char line[256];
    int const size = std::snprintf(line, sizeof line, "launch-with: %s%s%s\n", text,
                                   *reason != '\0' ? ": " : "", reason);
    if (options.error != nullptr && size > 0) {
        AppendToFile(options.error, line, static_cast<std::size_t>(size));
    }
}

// Says what is wrong with the command line, to the standard error if there is one, and to
// the file of --output or --error if that came before the mistake.
void Complain(Options const& options, Complaint const& complaint) {
    char line[512];
    int const size =
        std::snprintf(line, sizeof line, "launch-with: %.400s %s; --help tells more\n",
                      complaint.subject, complaint.text);
    char const* const file = options.error != nullptr ? options.error : options.output;
    if (file != nullptr) {
        AppendToFile(file, line, static_cast<std::size_t>(size));
    }
    [[maybe_unused]] ssize_t const written =
        write(STDERR_FILENO, line, static_cast<std::size_t>(size));
}

int Print(char const* text) {
    std::size_t const size = std::strlen(text);
    return write(STDOUT_FILENO, text, size) == static_cast<ssize_t>(size) ? 0 : kFailed;
}

// Opens /dev/null as the three standard streams. Returns false if that fails.
bool OpenNullStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        close(stream);
        if (open("/dev/null", O_RDWR) != stream) {
            return false;
        }
    }
    return true;
}

// Returns true if the parent that started this process has ended before it could be
// watched. The process inherited the session of that parent, and whoever adopted it is in
// another one.
bool IsOrphan(pid_t parent) {
    return getppid() != parent || (getsid(0) != getpid() && getsid(parent) != getsid(0));
}

// Waits at most `milliseconds`. Returns false once the launcher has ended.
bool Wait(ProcessHandle const& launcher, long long milliseconds) {
    pollfd waited = {launcher.Descriptor(), POLLIN, 0};
    poll(&waited, 1, static_cast<int>(std::min(milliseconds, 1'000'000LL)));
    return waited.revents == 0;
}

// The part of launch-with that its parent knows.
class Partner {
  public:
    Partner(Options const& given, ProcessHandle const& parent)
        : options(given), launcher(parent) {}

    // Returns how the program ended, as waitpid gives it.
    int Run(int argc, char** argv) {
        long long started = Now();
        int status = kFailed << 8;
        if (AwaitTurn()) {
            started = Now();
            status = RunProgram(argc, argv);
        }
        long long left = 0;
        while ((left = started + options.at_most_every - Now()) > 0 &&
               Wait(launcher, left)) {
        }
        return status;
    }

  private:
    // Waits until no other process holds the name of this program, and holds it. If it
    // had to wait, it waits 50 ms more: a process gives its name back at its end, but a
    // moment before its files.
    bool AwaitTurn() {
        int held = -1;
        bool has_waited = false;
        while ((held < 0 && (held = HoldName(options.name)) < 0) ||
               IsNameHeldForLife(options.name)) {
            if (held < 0 && errno != EADDRINUSE) {
                Note(options, "cannot hold the program's name", std::strerror(errno));
                return false;
            }
            if (!has_waited) {
                Note(options, "waits until the one before has ended", "");
            }
            has_waited = true;
            if (!Wait(launcher, kAskEvery)) {
                return false;
            }
        }
        return !has_waited || Wait(launcher, kAskEvery);
    }

    int RunProgram(int argc, char** argv) {
        AdoptOrphans();
        int ends[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
            Note(options, "cannot watch", std::strerror(errno));
            return kFailed << 8;
        }
        fcntl(ends[0], F_SETFD, FD_CLOEXEC);
        fcntl(ends[1], F_SETFD, FD_CLOEXEC);
        pid_t const watcher = fork();
        if (watcher == 0) {
            close(ends[0]);
            Watch(argc, argv, options, ends[1], launcher.Pid());
        }
        close(ends[1]);
        if (watcher < 0) {
            Note(options, "cannot fork", std::strerror(errno));
            return kFailed << 8;
        }
        return AwaitReport(ends[0], watcher);
    }

    int AwaitReport(int reports, pid_t watcher) const {
        Report report = {};
        pid_t program = 0;
        while (read(reports, &report, sizeof report) == sizeof report) {
            if (report.kind == Report::Kind::Ended) {
                waitpid(watcher, nullptr, 0);
                return report.status;
            }
            program = report.program;
        }
        int const status = KillDescendants(program);
        ForgetName(options.name);
        return status;
    }

    Options const& options;
    ProcessHandle const& launcher;
};

// Ends this process as the program ended, without a second core dump.
[[noreturn]] void EndAs(int status) {
    if (WIFSIGNALED(status)) {
        PreventCoreDump();
        int const signal = WTERMSIG(status);
        std::signal(signal, SIG_DFL);
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        sigprocmask(SIG_UNBLOCK, &one, nullptr);
        kill(getpid(), signal);
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : kFailed);
}

int Run(int argc, char** argv) {
    Options options;
    Complaint complaint;
    if (!ReadOptions(argc, argv, options, complaint)) {
        Complain(options, complaint);
        return kFailed;
    }
    if (options.help || options.version) {
        return Print(options.help ? kHelp : kVersion);
    }
    if (!OpenNullStreams()) {
        return kFailed;
    }
    pid_t const parent = getppid();
    ProcessHandle const launcher = parent > 0 ? ProcessHandle(parent) : ProcessHandle();
    if (IsOrphan(parent)) {
        return kFailed;
    }
    EndAs(Partner(options, launcher).Run(argc, argv));
}

}  // namespace

}  // namespace launch_with

int main(int argc, char** argv) {
    return launch_with::Run(argc, argv);
}
