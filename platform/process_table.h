// The system's processes, as they are at one moment.
//
//   std::optional<ProcessInfo> const shell = ReadProcess(getppid());
//   shell->arguments          -> {"bash", "-i"}
//
// A process is a pair of id and start: the id alone may belong to another process later.

#ifndef PLATFORM_PROCESS_TABLE_H
#define PLATFORM_PROCESS_TABLE_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// A process at one moment.
struct ProcessInfo {
    pid_t id = 0;
    // When it was forked, in a unit of the system's own. No two processes have the same
    // id and the same start.
    unsigned long long start = 0;
    // The ids of its parent, of its process group and of its session.
    pid_t parent = 0;
    pid_t group = 0;
    pid_t session = 0;
    // The user as whom it runs.
    uid_t user = 0;
    // It has ended, and its parent has yet to reap it.
    bool is_zombie = false;
    // A signal or a debugger has suspended it.
    bool is_stopped = false;
    // False if it still runs the program of the process that forked it.
    bool has_executed = false;
    // How many threads it has; 0 if the system does not tell.
    long threads = 0;
    // When it was forked, in milliseconds since 1970.
    long long start_time = 0;
    // The CPU time that it has used, in milliseconds.
    long long cpu_time = 0;
    // The memory that it has resident, in bytes.
    long long memory = 0;
    // The file that it executes, even if that has another name or is removed by now;
    // empty if the system does not tell.
    std::string program;
    // What it was executed with, its name first. Empty if the system does not tell. A
    // process may change its own.
    std::vector<std::string> arguments;
};

// Returns all processes that the system shows to this user, zombies included, in no
// order. It is empty if the system shows none. Processes that start or end meanwhile may
// be there or not.
std::vector<ProcessInfo> ReadProcesses();

// Returns the process that has this id now; std::nullopt if no process has it.
std::optional<ProcessInfo> ReadProcess(pid_t id);

// A thread, and what it waits for. If the system tells that of no thread of a process,
// each that waits counts as waiting for all of it. If it tells it of others only, the
// thread is about to sleep, and does not count as waiting.
struct ThreadInfo {
    // The first thread has the id of its process.
    pid_t id = 0;
    // It sleeps, for whatever reason.
    bool waits = false;
    // It waits for the end of a child, or for a time to pass.
    bool waits_for_child_or_time = false;
    // It waits for a condition, a lock, or the end of a thread.
    bool waits_for_thread = false;
    // It blocks SIGTERM, as a handler of that does. On macOS this is always false.
    bool blocks_sigterm = false;
};

// Returns the threads of the process. It is empty if the system does not tell. On macOS
// all of them count as waiting if none runs, and otherwise none does.
std::vector<ThreadInfo> ReadThreads(pid_t id);

// Returns the current directory of the process; an empty string if the system does not
// tell.
std::string DirectoryOf(pid_t id);

#endif
