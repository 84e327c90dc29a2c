#include "platform/process_family.h"

#include <fcntl.h>
#include <libproc.h>
#include <sys/event.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace {

// More children of one process than this are not found.
constexpr int kMostChildren = 1024;

void SignalChildren(pid_t parent, int signal, pid_t group) {
    pid_t children[kMostChildren];
    int const count = proc_listchildpids(parent, children, sizeof children);
    for (int i = 0; i < count && i < kMostChildren; ++i) {
        SignalChildren(children[i], signal, group);
        if (getpgid(children[i]) != group) {
            kill(children[i], signal);
        }
    }
}

}  // namespace

void AdoptOrphans() noexcept {}

int OpenChildEvents() noexcept {
    int const events = kqueue();
    if (events >= 0) {
        fcntl(events, F_SETFD, FD_CLOEXEC);
        struct kevent ended = {};
        EV_SET(&ended, SIGCHLD, EVFILT_SIGNAL, EV_ADD, 0, 0, nullptr);
        kevent(events, &ended, 1, nullptr, 0, nullptr);
    }
    return events;
}

void ClearChildEvents(int events) noexcept {
    struct kevent ended = {};
    timespec const now = {0, 0};
    while (kevent(events, nullptr, 0, &ended, 1, &now) > 0) {
    }
}

void BlockAllSignals() noexcept {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
}

bool DieWithParent(pid_t parent) noexcept {
    return getppid() == parent;
}

void PreventCoreDump() noexcept {
    rlimit const none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void SignalDescendants(int signal, pid_t group) noexcept {
    SignalChildren(getpid(), signal, group);
}
