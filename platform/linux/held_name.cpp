#include "platform/held_name.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

// Returns what tells PID namespaces apart; 0 without /proc. Containers may share a
// network namespace, and with it the names of sockets.
unsigned long long PidNamespace() {
    struct stat status = {};
    return stat("/proc/self/ns/pid", &status) == 0 ? status.st_ino : 0;
}

}  // namespace

// A socket without a file: its name begins with a zero.
int HoldName(char const* name) noexcept {
    int const held = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (held < 0) {
        return -1;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path + 1, sizeof address.sun_path - 1,
                  "tamlin/%llx/%u/%.64s", PidNamespace(), getuid(), name);
    if (bind(held, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        int const error = errno;
        close(held);
        errno = error;
        return -1;
    }
    return held;
}
