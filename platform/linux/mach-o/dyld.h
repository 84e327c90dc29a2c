// What macOS declares in the header of this name, for Linux.

#ifndef PLATFORM_LINUX_MACH_O_DYLD_H
#define PLATFORM_LINUX_MACH_O_DYLD_H

#include <cstdint>

// Copies the path of this process's executable, and a NUL, to `buffer`, which has room
// for `*size` bytes, and returns 0. If the path does not fit, it sets `*size` to the
// number of bytes that are needed, leaves `buffer` alone and returns -1.
//
// The path is absolute, and it is the path by which the program was started: symbolic
// links, "." and ".." are not resolved. A relative path counts from the working directory
// at the start of the process; a later chdir makes no difference.
extern "C" int _NSGetExecutablePath(char* buffer, std::uint32_t* size);

#endif
