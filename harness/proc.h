// What /proc tells of processes. Where a process is gone, or there is no /proc, a
// function returns 0 or nothing, as its comment says.
//
//   StatField(getpid(), 4)                  -> the parent's id, as text
//   ProcNumber(getpid(), "status", "Threads")  -> 1

#ifndef HARNESS_PROC_H
#define HARNESS_PROC_H

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

// Returns the ids of all processes of this PID namespace, zombies included.
std::vector<pid_t> AllProcesses();

// Returns the threads of a process; none if it is gone.
std::vector<pid_t> ThreadsOf(pid_t pid);

// Returns the processes of a session, without zombies.
std::vector<pid_t> SessionMembers(pid_t session);

// Returns the field of this number, as proc(5) counts them from 3 on, of the file "stat"
// of a process or thread; an empty string if it is gone.
std::string StatField(pid_t pid, int number);

// Returns the state of a process or thread: 'R', 'S', 'Z', ..., and 0 if it is gone.
char StateOf(pid_t pid);

// Returns true if the process is gone, or is a zombie that its parent has yet to reap or
// is reaping.
bool IsGone(pid_t pid);

// Returns the parent of a process, 0 if it is gone.
pid_t ParentOf(pid_t pid);

// Returns the program that the process executes; an empty path if it is gone.
std::filesystem::path ProgramOf(pid_t pid);

// Returns what a line "KEY: VALUE" says in this file of a process or thread, for example
// "status" or "io"; an empty string if there is no such line.
std::string ProcValue(pid_t pid, std::string const& file, std::string const& key);

// Returns the same as a number, 0 if it is not a number.
long ProcNumber(pid_t pid, std::string const& file, std::string const& key);

// Returns how many descriptors the process has open, 0 if it is gone.
std::size_t CountDescriptors(pid_t pid);

// Returns how many mappings the process has, 0 if it is gone. The page that the kernel
// shows in every process, and that none has for itself, does not count.
std::size_t CountMappings(pid_t pid);

// Returns the part of /proc/self/smaps that is about the mapping of the address; an empty
// string if it is not mapped.
std::string MappingOf(void const* address);

// Returns the processes that have `text` in their environment, without zombies. All that
// a process starts have its environment.
std::vector<pid_t> ProcessesWith(std::string const& text);

#endif
