#include "platform/process_family.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/process_handle.h"

namespace {

// Room for the path of a file of a thread, and for the texts that are read here.
constexpr std::size_t kRoom = 512;

// Reads the beginning of a file as text. Returns false if it cannot be read.
bool ReadText(char const* path, char (&text)[kRoom]) {
    int const file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    ssize_t const count = read(file, text, kRoom - 1);
    close(file);
    text[count > 0 ? count : 0] = '\0';
    return count > 0;
}

// Returns the parent of a process, 0 if it is gone.
pid_t ParentOf(pid_t pid) {
    char path[kRoom];
    char text[kRoom];
    std::snprintf(path, sizeof path, "/proc/%d/stat", pid);
    // "PID (NAME) STATE PARENT ...", and the name may hold anything.
    char const* const name_end = ReadText(path, text) ? std::strrchr(text, ')') : nullptr;
    return name_end != nullptr && std::strlen(name_end) > 4 ? std::atoi(name_end + 4) : 0;
}

void SignalChildren(pid_t parent, int signal, pid_t group);

// Signals a process that had the id `pid` and the parent `parent`, if it has them still,
// and its descendants.
void SignalTree(pid_t pid, pid_t parent, int signal, pid_t group) {
    ProcessHandle const process(pid);
    pid_t const parent_now = ParentOf(pid);
    if (!process.IsOpen() || (parent_now != parent && parent_now != getpid())) {
        return;
    }
    SignalChildren(pid, signal, group);
    if (getpgid(pid) != group) {
        process.Signal(signal);
    }
}

// Calls SignalTree for the children of one thread. The file names them, each with a blank
// after it.
void SignalChildrenOfThread(pid_t parent, char const* thread, int signal, pid_t group) {
    char path[kRoom];
    std::snprintf(path, sizeof path, "/proc/%d/task/%.16s/children", parent, thread);
    std::FILE* const file = std::fopen(path, "re");
    if (file == nullptr) {
        return;
    }
    pid_t child = 0;
    while (std::fscanf(file, "%d", &child) == 1) {
        SignalTree(child, parent, signal, group);
    }
    std::fclose(file);
}

void SignalChildren(pid_t parent, int signal, pid_t group) {
    char path[kRoom];
    std::snprintf(path, sizeof path, "/proc/%d/task", parent);
    DIR* const threads = opendir(path);
    if (threads == nullptr) {
        return;
    }
    while (dirent const* const entry = readdir(threads)) {
        if (entry->d_name[0] != '.') {
            SignalChildrenOfThread(parent, entry->d_name, signal, group);
        }
    }
    closedir(threads);
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

bool DieWithParent(pid_t parent) noexcept {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    return getppid() == parent;
}

void PreventCoreDump() noexcept {
    prctl(PR_SET_DUMPABLE, 0);
}

void SignalDescendants(int signal, pid_t group) noexcept {
    SignalChildren(getpid(), signal, group);
}
