#include "harness/system.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

void CloseDescriptorsFrom(int first) {
    close_range(static_cast<unsigned int>(first), ~0U, 0);
}

void MountFile(std::string const& file, char const* place) {
    if (mount(file.c_str(), place, nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}

void UnmountFile(char const* place) noexcept {
    umount2(place, MNT_DETACH);
}

void MountDisk(std::string const& place, char const* options) {
    if (mount("none", place.c_str(), "tmpfs", 0, options) != 0) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}

bool SetDiskReadOnly(std::string const& place, bool read_only) {
    unsigned long const flags = MS_REMOUNT | (read_only ? MS_RDONLY : 0);
    return mount(nullptr, place.c_str(), nullptr, flags, "") == 0;
}

bool UnmountDisk(std::string const& place) noexcept {
    return umount(place.c_str()) == 0;
}

void LimitDescriptors(pid_t process, unsigned long number) {
    rlimit const limit = {number, 1024};
    if (prlimit(process, RLIMIT_NOFILE, &limit, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "prlimit");
    }
}

pid_t CurrentThread() {
    return gettid();
}
