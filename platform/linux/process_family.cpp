#include "platform/process_family.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/process_handle.h"

namespace {

// Nothing here allocates memory: what is out of memory must end too.

// Room for the path of a file of a thread.
constexpr std::size_t kPathRoom = 64;

// How many generations below one process are looked at. Those below them are reached once
// their ancestors have ended, so that stack and descriptors are enough.
constexpr int kGenerations = 100;

// Closes a descriptor at the end of its scope.
class File {
  public:
    File(char const* path, int flags) : descriptor(open(path, flags | O_CLOEXEC)) {}
    ~File() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    int Descriptor() const { return descriptor; }

  private:
    int const descriptor;
};

// Returns the parent of a process, 0 if it is gone.
pid_t ParentOf(pid_t pid) {
    char path[kPathRoom];
    std::snprintf(path, sizeof path, "/proc/%d/stat", pid);
    File const file(path, O_RDONLY);
    char text[512];
    ssize_t const count = read(file.Descriptor(), text, sizeof text - 1);
    text[count > 0 ? count : 0] = '\0';
    // "PID (NAME) STATE PARENT ...", and the name may hold anything.
    char const* const name_end = std::strrchr(text, ')');
    return name_end != nullptr && std::strlen(name_end) > 4 ? std::atoi(name_end + 4) : 0;
}

// What is sent, and where in the family.
struct Order {
    int signal;
    pid_t spared_group;
    int generations;
};

void SignalChildren(pid_t parent, Order order);

// Signals a process that had the id `pid` and the parent `parent`, if it has them still,
// and its descendants.
void SignalTree(pid_t pid, pid_t parent, Order order) {
    ProcessHandle const process(pid);
    pid_t const parent_now = ParentOf(pid);
    if (!process.IsOpen() || (parent_now != parent && parent_now != getpid())) {
        return;
    }
    if (order.generations > 0) {
        SignalChildren(pid, {order.signal, order.spared_group, order.generations - 1});
    }
    if (getpgid(pid) != order.spared_group) {
        process.Signal(order.signal);
    }
}

// Calls SignalTree for the children of one thread. The file names them, each with a blank
// after it.
void SignalChildrenOfThread(pid_t parent, char const* thread, Order order) {
    char path[kPathRoom];
    std::snprintf(path, sizeof path, "/proc/%d/task/%.16s/children", parent, thread);
    File const file(path, O_RDONLY);
    char text[256];
    ssize_t count = 0;
    pid_t child = 0;
    while ((count = read(file.Descriptor(), text, sizeof text)) > 0) {
        for (ssize_t i = 0; i < count; ++i) {
            if (text[i] != ' ') {
                child = child * 10 + (text[i] - '0');
                continue;
            }
            SignalTree(child, parent, order);
            child = 0;
        }
    }
}

void SignalChildren(pid_t parent, Order order) {
    char path[kPathRoom];
    std::snprintf(path, sizeof path, "/proc/%d/task", parent);
    File const threads(path, O_RDONLY | O_DIRECTORY);
    alignas(dirent64) char entries[512];
    ssize_t count = 0;
    while ((count = getdents64(threads.Descriptor(), entries, sizeof entries)) > 0) {
        for (ssize_t at = 0; at < count;) {
            auto const* const entry = reinterpret_cast<dirent64 const*>(entries + at);
            if (entry->d_name[0] != '.') {
                SignalChildrenOfThread(parent, entry->d_name, order);
            }
            at += entry->d_reclen;
        }
    }
}

}  // namespace

void AdoptOrphans() noexcept {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

int OpenChildEvents() noexcept {
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);
    return signalfd(-1, &ended, SFD_CLOEXEC | SFD_NONBLOCK);
}

void ClearChildEvents(int events) noexcept {
    signalfd_siginfo event = {};
    while (read(events, &event, sizeof event) > 0) {
    }
}

void BlockAllSignals() noexcept {
    // The system's own set, which has a bit for each signal. The C library's call takes
    // signals 32 and 33 out of it.
    unsigned char all[_NSIG / 8];
    std::memset(all, 0xff, sizeof all);
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, all, nullptr, sizeof all);
}

bool DieWithParent(pid_t parent) noexcept {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    return getppid() == parent;
}

void PreventCoreDump() noexcept {
    prctl(PR_SET_DUMPABLE, 0);
}

void SignalDescendants(int signal, pid_t group) noexcept {
    SignalChildren(getpid(), {signal, group, kGenerations});
}
