#include "platform/held_name.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>

namespace {

int CloseWithError(int descriptor, int error) {
    close(descriptor);
    errno = error;
    return -1;
}

}  // namespace

// A locked file in the user's cache directory. The lock goes with the process; the file
// stays, and means nothing by itself.
int HoldName(char const* name) noexcept {
    char directory[PATH_MAX] = {};
    if (confstr(_CS_DARWIN_USER_CACHE_DIR, directory, sizeof directory) == 0) {
        return -1;
    }
    char path[PATH_MAX + 80] = {};
    std::snprintf(path, sizeof path, "%s/tamlin.%.64s", directory, name);
    int const held = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (held < 0) {
        return -1;
    }
    if (flock(held, LOCK_EX | LOCK_NB) != 0) {
        return CloseWithError(held, errno == EWOULDBLOCK ? EADDRINUSE : errno);
    }
    struct stat status = {};
    bool const was_removed = fstat(held, &status) == 0 && status.st_nlink == 0;
    return was_removed ? CloseWithError(held, EADDRINUSE) : held;
}

void HoldNameForLife(char const* /*name*/) noexcept {}

bool IsNameHeldForLife(char const* /*name*/) noexcept {
    return false;
}

void ForgetName(char const* /*name*/) noexcept {}
