#include "platform/exec_trial.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

using Answer = ExecTrial::Answer;

// A descriptor, closed with the object.
class Descriptor {
  public:
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int Number() const { return number; }
    void Close() {
        if (number >= 0) {
            close(number);
            number = -1;
        }
    }

  private:
    int number;
};

[[noreturn]] void Report(int report, Answer answer) {
    ExecTrial const trial = {answer, errno};
    [[maybe_unused]] ssize_t const written = write(report, &trial, sizeof trial);
    _exit(0);
}

// The child. It stops before execv, so that the tracer can ask for its end with the
// tracer's own, and once more after execv. Until the first stop, the death signal ends it
// with its parent. All signals are blocked, so that nothing else stops it.
//
// It goes on only after a byte from `permission`, which comes when it ends with the
// tracer. A tracer that dies before that lets it run on for a moment, until the death
// signal.
[[noreturn]] void ExecuteTraced(char const* path, char* const* arguments, int report,
                                int permission, pid_t parent) {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 ||
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        Report(report, Answer::NotAsked);
    }
    if (getppid() != parent) {
        _exit(0);
    }
    kill(getpid(), SIGSTOP);
    char byte = 0;
    if (read(permission, &byte, 1) != 1) {
        _exit(0);
    }
    for (int i = 0; i <= STDERR_FILENO; ++i) {
        close(i);
    }
    execv(path, arguments);
    Report(report, Answer::Refused);
}

// Waits for the child's next stop, or its end. Returns false if it is gone.
bool WaitForChild(pid_t child, int& status) {
    pid_t waited = -1;
    do {
        waited = waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    return waited == child;
}

bool IsStoppedBy(int status, int signal_and_event) {
    return WIFSTOPPED(status) && status >> 8 == signal_and_event;
}

ExecTrial ReadReport(int report) {
    ExecTrial trial = {};
    bool const is_whole = read(report, &trial, sizeof trial) == sizeof trial;
    return is_whole ? trial : ExecTrial{Answer::NotAsked, EPERM};
}

// Returns what the child's status says after the call of execv.
ExecTrial Judge(int status, int report) {
    if (IsStoppedBy(status, SIGTRAP | PTRACE_EVENT_EXEC << 8)) {
        return {Answer::Accepted, 0};
    }
    if (WIFSIGNALED(status)) {
        return {Answer::Killed, WTERMSIG(status)};
    }
    return WIFSTOPPED(status) ? ExecTrial{Answer::Killed, WSTOPSIG(status)}
                              : ReadReport(report);
}

// Takes the child from its first stop to the second one, or to its end.
ExecTrial Trace(pid_t child, int report, int permission) {
    int status = 0;
    if (!WaitForChild(child, status) || !IsStoppedBy(status, SIGSTOP)) {
        return ReadReport(report);
    }
    if (ptrace(PTRACE_SETOPTIONS, child, nullptr,
               PTRACE_O_EXITKILL | PTRACE_O_TRACEEXEC) != 0 ||
        write(permission, "", 1) != 1) {
        return {Answer::NotAsked, errno};
    }
    do {
        if (ptrace(PTRACE_CONT, child, nullptr, nullptr) != 0 ||
            !WaitForChild(child, status)) {
            return {Answer::NotAsked, errno};
        }
    } while (IsStoppedBy(status, SIGSTOP));
    return Judge(status, report);
}

// Ends the child, unless its end was waited for: its id may be another process's by then.
void End(pid_t child) {
    siginfo_t state = {};
    if (waitid(P_PID, static_cast<id_t>(child), &state,
               WEXITED | WSTOPPED | WNOHANG | WNOWAIT) != 0) {
        return;
    }
    kill(child, SIGKILL);
    int status = 0;
    while (WaitForChild(child, status) && WIFSTOPPED(status)) {
    }
}

}  // namespace

ExecTrial TryExec(char const* path, char* const* arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {Answer::NotAsked, errno};
    }
    Descriptor const read_end(ends[0]);
    Descriptor write_end(ends[1]);
    int permission_ends[2];
    if (pipe2(permission_ends, O_CLOEXEC) != 0) {
        return {Answer::NotAsked, errno};
    }
    Descriptor const permission(permission_ends[0]);
    Descriptor permit(permission_ends[1]);
    // With a number above those that the child closes.
    Descriptor report(fcntl(ends[1], F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    pid_t const parent = getpid();
    pid_t const child = report.Number() < 0 ? -1 : fork();
    if (child == 0) {
        permit.Close();
        ExecuteTraced(path, arguments, report.Number(), permission.Number(), parent);
    }
    if (child < 0) {
        return {Answer::NotAsked, errno};
    }
    write_end.Close();
    report.Close();
    ExecTrial const trial = Trace(child, read_end.Number(), permit.Number());
    End(child);
    return trial;
}
