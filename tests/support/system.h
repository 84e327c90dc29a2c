// What each system does in a way of its own, for the support of the tests.
//
// Tests that start processes run inside tests/support/contained, which Linux alone can
// provide. On macOS they compile and link, so that their sources keep fitting it, and
// what they need of Linux throws std::logic_error there.

#ifndef TESTS_SUPPORT_SYSTEM_H
#define TESTS_SUPPORT_SYSTEM_H

#include <sys/types.h>

#include <string>

// Closes every descriptor from `first` on.
void CloseDescriptorsFrom(int first);

// Mounts `file` in the place of the file `place`, on top of what is mounted there. Throws
// std::system_error if that fails.
void MountFile(std::string const& file, char const* place);

// Takes away what was last mounted at `place`; if nothing is, does nothing.
void UnmountFile(char const* place) noexcept;

#endif
