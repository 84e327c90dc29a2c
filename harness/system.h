// What each system does in a way of its own, for the support of the tests.
//
// Tests that start processes run inside tests/support/contained, which Linux alone can
// provide. On macOS they compile and link, so that their sources keep fitting it, and
// what they need of Linux throws std::logic_error there.

#ifndef HARNESS_SYSTEM_H
#define HARNESS_SYSTEM_H

#include <sys/types.h>

#include <string>

// Closes every descriptor from `first` on.
void CloseDescriptorsFrom(int first);

// Mounts `file` in the place of the file `place`, on top of what is mounted there. Throws
// std::system_error if that fails.
void MountFile(std::string const& file, char const* place);

// Takes away what was last mounted at `place`; if nothing is, does nothing.
void UnmountFile(char const* place) noexcept;

// Mounts a small disk on the directory `place`, with the options of a tmpfs. Throws
// std::system_error if that fails.
void MountDisk(std::string const& place, char const* options);

// Forbids writing to the disk that is mounted at `place`, or allows it again. Returns
// whether that was possible: not while a file is open for writing.
bool SetDiskReadOnly(std::string const& place, bool read_only);

// Takes the disk away. Returns whether that was possible: not while a file on it is open.
bool UnmountDisk(std::string const& place) noexcept;

// Limits the number of descriptors of a process, and of what it starts from now on, to
// `number`, which is 1024 at most. Throws std::system_error if that fails.
void LimitDescriptors(pid_t process, unsigned long number);

// Returns the id of the calling thread; the first thread has that of the process. May be
// called in a signal handler.
pid_t CurrentThread();

#endif
