// What Linux and macOS do differently.
//
// Tests that start processes run inside tests/support/contained, which only works on
// Linux. On macOS they only compile and link, so that their sources stay portable. There,
// the functions that need Linux throw std::logic_error.

#ifndef HARNESS_SYSTEM_H
#define HARNESS_SYSTEM_H

#include <sys/types.h>

#include <string>

// Closes every descriptor from `first` on.
void CloseDescriptorsFrom(int first);

// Mounts `file` on the file `place`, on top of what is mounted there. Throws
// std::system_error if that fails.
void MountFile(std::string const& file, char const* place);

// Unmounts what was last mounted at `place`, if anything.
void UnmountFile(char const* place) noexcept;

// Mounts a small disk on the directory `place`, with the options of a tmpfs. Throws
// std::system_error if that fails.
void MountDisk(std::string const& place, char const* options);

// Makes the disk that is mounted at `place` read-only, or writable again. Returns false
// if that fails, as it does while a file is open for writing.
bool SetDiskReadOnly(std::string const& place, bool read_only);

// Unmounts the disk. Returns false if that fails, as it does while a file on it is open.
bool UnmountDisk(std::string const& place) noexcept;

// Limits the number of descriptors of a process, and of processes that it starts from now
// on, to `number`, which is 1024 at most. Throws std::system_error if that fails.
void LimitDescriptors(pid_t process, unsigned long number);

// Returns the id of the calling thread. The first thread has the id of the process. May
// be called in a signal handler.
pid_t CurrentThread();

#endif
