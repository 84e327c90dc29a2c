// What macOS declares in the header of this name, for Linux.

#ifndef PLATFORM_LINUX_MACH_O_DYLD_H
#define PLATFORM_LINUX_MACH_O_DYLD_H

#include <cstdint>

// Copies the path of this process's executable, with a NUL behind it, to `buffer`, which
// holds `*size` bytes, and returns 0. If it does not fit, sets `*size` to the bytes that
// it needs and returns -1; `buffer` is then untouched.
//
// The path is absolute and is the one that the program was started by: symbolic links,
// "." and ".." in it are not resolved. A relative path counts from the working directory
// that the process was started in, whatever chdir did since.
extern "C" int _NSGetExecutablePath(char* buffer, std::uint32_t* size);

#endif
