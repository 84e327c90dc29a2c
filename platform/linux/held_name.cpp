#include "platform/held_name.h"

#include <sys/sem.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string_view>

namespace {

// Returns what tells PID namespaces apart; 0 without /proc. Containers may share a
// network namespace, and with it the names of sockets.
unsigned long long PidNamespace() {
    struct stat status = {};
    return stat("/proc/self/ns/pid", &status) == 0 ? status.st_ino : 0;
}

// A name of this user in this PID namespace.
struct FullName {
    explicit FullName(char const* name) {
        std::snprintf(text, sizeof text, "tamlin/%llx/%u/%.64s", PidNamespace(), getuid(),
                      name);
    }

    char text[sizeof(sockaddr_un::sun_path) - 1] = {};
};

// A set of semaphores for a name. The kernel takes back what a process has added to one
// when it ends; execv keeps that, and children do not get it. The first semaphore counts
// who holds the name. The others hold what the key has no room for, so that two names
// with one key are told apart.
class Semaphores {
  public:
    explicit Semaphores(char const* name) {
        std::uint64_t hash = std::hash<std::string_view>()(FullName(name).text);
        // 0 is no key.
        key = static_cast<key_t>(hash & 0x7fff'ffff) | 1;
        hash >>= 31;
        for (auto it = std::begin(values) + 1; it != std::end(values); ++it) {
            *it = hash & 0x7fff;
            hash >>= 15;
        }
    }

    // Adds this process to those that hold the name.
    void Add() const {
        int const set = semget(key, kCount, IPC_CREAT | 0600);
        bool const is_others = semctl(set, 0, GETVAL) != 0;
        if (is_others || semctl(set, 0, SETALL, values) != 0) {
            return;
        }
        sembuf one = {0, 1, SEM_UNDO};
        semop(set, &one, 1);
    }

    bool IsHeld() const { return semctl(Find(), 0, GETVAL) > 0; }

    void Remove() const { semctl(Find(), 0, IPC_RMID); }

  private:
    static constexpr int kCount = 4;

    // Returns the set of this name; -1 without one.
    int Find() const {
        int const set = semget(key, kCount, 0);
        unsigned short found[kCount] = {};
        bool const is_same =
            semctl(set, 0, GETALL, found) == 0 &&
            std::equal(std::begin(found) + 1, std::end(found), std::begin(values) + 1);
        return is_same ? set : -1;
    }

    key_t key;
    unsigned short values[kCount] = {};
};

}  // namespace

// A socket without a file: its name begins with a zero.
int HoldName(char const* name) noexcept {
    int const held = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (held < 0) {
        return -1;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy_n(FullName(name).text, sizeof address.sun_path - 1, address.sun_path + 1);
    if (bind(held, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        int const error = errno;
        close(held);
        errno = error;
        return -1;
    }
    return held;
}

void HoldNameForLife(char const* name) noexcept {
    Semaphores(name).Add();
}

bool IsNameHeldForLife(char const* name) noexcept {
    return Semaphores(name).IsHeld();
}

void ForgetName(char const* name) noexcept {
    Semaphores(name).Remove();
}
